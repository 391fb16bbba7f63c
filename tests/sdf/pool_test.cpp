#include "container_bytes.hpp"
#include "sdf/open_file_pool.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::size_t kLimit = HierarchicalFilePool::kMaxOpenFiles;
constexpr std::size_t kFileCount = kLimit + 4;

/// More files than the pool keeps open, each with a dataset "x" of its own size.
class OpenFilePool : public ContainerTest {
 protected:
  OpenFilePool() {
    for (std::size_t i = 0; i < kFileCount; ++i) {
      put(containerOf(noise(20 + i), tableOf({{'D', "x", 20 + i, 20, 0}})), std::to_string(i));
      files_.push_back(reader(std::to_string(i)));
    }
  }
  void openAll() {
    for (const auto& file : files_) file->ensureOpen();
  }
  /// Streams that this process has open below the path.
  static std::size_t openStreams(const std::string& path) {
    std::size_t count = 0;
    for (const auto& link : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      if (std::filesystem::read_symlink(link, gone).string().starts_with(path)) ++count;
    }
    return count;
  }

  std::vector<std::unique_ptr<SdfFile>> files_;
};

TEST_F(OpenFilePool, ClosesTheFileOpenedFirstAndReopensItOnDemand) {
  for (std::size_t i = 0; i < kLimit; ++i) files_[i]->ensureOpen();
  EXPECT_EQ(openStreams(path("")), kLimit);
  EXPECT_EQ(readAll(*files_[0], "/", "x"), noise(20)) << "use does not renew a file";
  const auto provider = files_[1]->getDataProvider("/", "x", 0, 0);

  files_[kLimit]->ensureOpen();
  EXPECT_EQ(openStreams(path("")), kLimit);
  EXPECT_EQ(openStreams(path("0")), 0U);
  EXPECT_TRUE(files_[0]->hasDataset("/", "x")) << "opens again, and the second file goes";
  EXPECT_EQ(openStreams(path("")), kLimit);
  EXPECT_EQ(contentOf(*provider), noise(21)) << "providers outlive the closing";
  for (std::size_t i = 0; i < kFileCount; ++i) {
    std::vector<std::string> names;
    EXPECT_EQ(files_[i]->listDatasets("/", names), 0);
    EXPECT_EQ(names, std::vector<std::string>{"x"});
    EXPECT_EQ(readAll(*files_[i], "/", "x"), noise(20 + i)) << i;
  }
  EXPECT_EQ(getOpenFilePool().size(), kLimit);
  files_.clear();
  EXPECT_EQ(getOpenFilePool().size(), 0U);
  EXPECT_EQ(openStreams(path("")), 0U);
}

TEST_F(OpenFilePool, FailedOpenLeavesThePool) {
  put(noise(100), "foreign");
  const auto missing = reader("missing");
  const auto foreign = reader("foreign");
  const auto directory = reader("");
  for (SdfFile* file : {missing.get(), foreign.get(), directory.get()}) {
    EXPECT_THROW(file->ensureOpen(), std::runtime_error);
  }
  EXPECT_EQ(getOpenFilePool().size(), 0U);
  EXPECT_EQ(openStreams(path("foreign")), 0U);
}

}  // namespace
}  // namespace Kelbor::MathModule

#include <gtest/gtest.h>

#include <filesystem>

#include "container_bytes.hpp"
#include "sdf/open_file_pool.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::size_t kFileCount = HierarchicalFilePool::kMaxOpenFiles + 4;

/// Streams that this process has open below the directory.
std::size_t openStreams(const std::string& directory) {
  std::size_t count = 0;
  for (const auto& link : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const std::string target = std::filesystem::read_symlink(link, gone).string();
    if (target.starts_with(directory)) ++count;
  }
  return count;
}

class OpenFilePool : public ::testing::Test {
 protected:
  OpenFilePool() {
    for (std::size_t i = 0; i < kFileCount; ++i) {
      const Bytes content = noise(20 + i);
      const Bytes table = ByteWriter().u64(1).record('D', "x", content.size(), 20, 0).bytes();
      const std::string path = directory_.put(std::to_string(i), containerOf(content, table));
      files_.push_back(std::make_unique<SdfFile>(&manager_, path, false, "", false));
    }
  }

  DataManager manager_;
  ScratchDirectory directory_;
  std::vector<std::unique_ptr<SdfFile>> files_;
};

TEST_F(OpenFilePool, ClosesTheFileOpenedFirstAndReopensItOnDemand) {
  if (!std::filesystem::exists("/proc/self/fd")) GTEST_SKIP() << "open streams can't be counted";
  const std::size_t limit = HierarchicalFilePool::kMaxOpenFiles;
  for (std::size_t i = 0; i < limit; ++i) files_[i]->ensureOpen();
  EXPECT_EQ(openStreams(directory_.path("")), limit);
  EXPECT_EQ(readAll(*files_[0], "/", "x"), noise(20)) << "use does not renew a file";

  files_[limit]->ensureOpen();
  EXPECT_EQ(openStreams(directory_.path("")), limit);
  EXPECT_TRUE(files_[0]->hasDataset("/", "x")) << "opens again, and the second file goes";
  EXPECT_EQ(openStreams(directory_.path("")), limit);
  for (std::size_t i = 0; i < kFileCount; ++i) {
    EXPECT_EQ(readAll(*files_[i], "/", "x"), noise(20 + i)) << i;
  }
  EXPECT_EQ(getOpenFilePool().size(), limit);
  files_.clear();
  EXPECT_EQ(getOpenFilePool().size(), 0U);
  EXPECT_EQ(openStreams(directory_.path("")), 0U);
}

TEST_F(OpenFilePool, ProvidersOutliveThePoolsClosing) {
  const auto provider = files_[0]->getDataProvider("/", "x", 0, 0);
  for (std::size_t i = 1; i < kFileCount; ++i) files_[i]->ensureOpen();
  EXPECT_EQ(contentOf(*provider), noise(20));
}

TEST_F(OpenFilePool, ListingOpensAFileThatThePoolHasClosed) {
  for (const auto& file : files_) file->ensureOpen();
  std::vector<std::string> names;
  EXPECT_EQ(files_[0]->listDatasets("/", names), 0);
  EXPECT_EQ(names, std::vector<std::string>{"x"});
}

TEST_F(OpenFilePool, WritableFileSurvivesBeingClosed) {
  const std::string path = directory_.path("written");
  {
    SdfFile file(&manager_, path, true, "", false);
    EXPECT_EQ(file.writeDataset("/g", "a", *sourceOf(manager_, noise(30)), nullptr), 0);
    for (const auto& other : files_) other->ensureOpen();
    EXPECT_EQ(openStreams(path), 0U);
    EXPECT_EQ(file.writeDataset("/g", "b", *sourceOf(manager_, noise(31)), nullptr), 0);
    for (auto& other : files_) other->closeIfOpen(true);
    for (const auto& other : files_) other->ensureOpen();
    EXPECT_EQ(openStreams(path), 0U) << "it is finished from the closed state";
  }
  SdfFile file(&manager_, path, false, "", false);
  EXPECT_EQ(readAll(file, "/g", "a"), noise(30));
  EXPECT_EQ(readAll(file, "/g", "b"), noise(31));
}

TEST_F(OpenFilePool, FailedOpenLeavesThePool) {
  SdfFile missing(&manager_, directory_.path("missing"), false, "", false);
  const std::string unreadable = directory_.put("unreadable", noise(100));
  SdfFile foreign(&manager_, unreadable, false, "", false);
  SdfFile directory(&manager_, directory_.path(""), false, "", false);
  for (SdfFile* file : {&missing, &foreign, &directory}) {
    EXPECT_THROW(file->ensureOpen(), std::runtime_error);
  }
  EXPECT_EQ(getOpenFilePool().size(), 0U);
  EXPECT_EQ(openStreams(unreadable), 0U);
}

}  // namespace
}  // namespace Kelbor::MathModule

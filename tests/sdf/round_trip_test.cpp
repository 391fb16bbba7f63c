#include "container_bytes.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

using Names = std::vector<std::string>;
using Storage = DatasetInfo::Storage;
using RoundTrip = ContainerTest;

TEST_F(RoundTrip, SizesAroundTheInlineLimitComeBack) {
  const std::vector<std::size_t> sizes{0, 1, 15, 16, 17, 18, 1000, 100'000};
  for (const bool compress : {false, true}) {
    std::filesystem::remove(path());
    {
      const auto file = writer(compress);
      for (const std::size_t size : sizes) {
        EXPECT_EQ(write(*file, "/n", std::to_string(size), noise(size)), 0);
        EXPECT_EQ(readAll(*file, "/n", std::to_string(size)), noise(size)) << "at the file's end";
        EXPECT_EQ(write(*file, "p", std::to_string(size), pattern(size)), 0);
      }
    }
    const auto file = reader();
    for (const std::size_t size : sizes) {
      const std::string name = std::to_string(size);
      EXPECT_EQ(readAll(*file, "n", name), noise(size)) << size;
      EXPECT_EQ(readAll(*file, "/p", name), pattern(size)) << size;
      EXPECT_EQ(file->getDatasetSize("/n/", name), size);
      const auto info = file->getDatasetInfo("/n", name);
      ASSERT_TRUE(info);
      EXPECT_EQ(info->storage, size <= 16 ? Storage::kInlined : Storage::kPlain) << size;
      EXPECT_EQ(info->storedSize, size <= 16 ? 0 : size);
    }
    const auto info = file->getDatasetInfo("p", "1000");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->storage, compress ? Storage::kDeflated : Storage::kPlain);
    EXPECT_EQ(info->logicalSize, 1000U);
    EXPECT_EQ(info->storedSize < 100, compress);
  }
}

TEST_F(RoundTrip, GroupsNestAndListInTheOrderOfTheirBytes) {
  {
    const auto file = writer();
    for (const char* group : {"/b/c//d/", "B", "\xC3\xA4"}) EXPECT_EQ(file->createGroup(group), 0);
    write(*file, "/b/c", "10", pattern(20));
    write(*file, "/b/c", "9", pattern(20));
  }
  const auto file = reader();
  Names groups;
  Names datasets;
  EXPECT_EQ(file->listGroups("/", groups), 0);
  EXPECT_EQ(groups, (Names{"B", "b", "\xC3\xA4"}));
  EXPECT_EQ(file->listEntries("b//c", groups, datasets), 0);
  EXPECT_EQ(groups.back(), "d");
  EXPECT_EQ(datasets, (Names{"10", "9"}));
  EXPECT_EQ(file->listDatasets("/absent/group", datasets), 0);
  EXPECT_EQ(file->listDatasets("/b/c/9/x", datasets), 0);
  EXPECT_EQ(datasets.size(), 2U);
}

TEST_F(RoundTrip, DatasetInTheWayOfAGroupBecomesItsDot) {
  {
    const auto file = writer();
    write(*file, "/v", "x", pattern(30));
    write(*file, "/v/x", "child", pattern(31));
    write(*file, "/plain/.", "y", pattern(5));
  }
  const auto file = reader();
  EXPECT_TRUE(file->hasDataset("/v", "x"));
  EXPECT_EQ(file->getDatasetSize("/v", "x"), 0U);
  EXPECT_EQ(file->getDataProvider("/v", "x", 0, 0), nullptr);
  EXPECT_EQ(readAll(*file, "/v/x", "."), pattern(30));
  EXPECT_EQ(readAll(*file, "/v/x", "child"), pattern(31));
  EXPECT_FALSE(file->hasDataset("/", "v"));
  EXPECT_FALSE(file->hasDataset("/", "plain")) << "its entry '.' is a group";
  EXPECT_FALSE(file->hasDataset("/v", "absent"));
  EXPECT_FALSE(file->hasDataset("/absent", "x"));
  EXPECT_EQ(file->getDatasetSize("/absent", "x"), 0U);
}

}  // namespace
}  // namespace Kelbor::MathModule

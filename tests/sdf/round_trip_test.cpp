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
      EXPECT_EQ(info->storage, size <= 16 ? Storage::inlined : Storage::plain) << size;
      EXPECT_EQ(info->storedSize, size <= 16 ? 0 : size);
    }
    const auto info = file->getDatasetInfo("p", "1000");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->storage, compress ? Storage::deflated : Storage::plain);
    EXPECT_EQ(info->logicalSize, 1000U);
    EXPECT_EQ(info->storedSize < 100, compress);
  }
}

TEST_F(RoundTrip, DataThatLookCompressedGoInAsTheyAre) {
  const auto file = writer(/*compress=*/true);
  for (const int first : {0x78, 0x28, 0x77}) {
    Bytes content(500, std::byte{3});
    content[0] = static_cast<std::byte>(first);
    std::uint64_t size = 0;
    EXPECT_EQ(write(*file, "/", "x", content, &size), 0);
    EXPECT_EQ(size == 500, first != 0x77) << first;
    EXPECT_EQ(readAll(*file, "/", "x"), content);
  }
}

TEST_F(RoundTrip, SeveralSourcesAreOneDataset) {
  struct Case {
    const char* name;
    Bytes first, second;
    std::uint64_t least, most;
    const char* log;
  };
  const Case cases[]{
      {"both", pattern(300), pattern(40), 340, 340, "ERROR: Sdf compression failed! Reason: "},
      {"one", {}, pattern(300), 1, 299, ""},
      {"shorts", pattern(5), pattern(11), 16, 16, ""}};
  {
    const auto file = writer(/*compress=*/true);
    for (const Case& c : cases) {
      const auto first = sourceOf(c.first);
      const auto second = sourceOf(c.second);
      DataProvider* const sources[] = {first.get(), second.get()};
      std::uint64_t size = 0;
      const LogCapture log;
      EXPECT_EQ(file->writeDatasets("/", c.name, sources, &size), 0);
      EXPECT_EQ(log.text().substr(0, std::string(c.log).size()), c.log);
      EXPECT_EQ(log.text().empty(), std::string(c.log).empty()) << log.text();
      EXPECT_GE(size, c.least) << c.name;
      EXPECT_LE(size, c.most) << c.name;
    }
  }
  for (const Case& c : cases) {
    EXPECT_EQ(readAll(*reader(), "/", c.name), joined(c.first, c.second)) << c.name;
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

TEST_F(RoundTrip, ReopenedFileKeepsWhatItHadAndTakesMore) {
  const auto groupOf = [](int i) { return "/g" + std::to_string(i % 5); };
  {
    const auto file = writer(/*compress=*/true);
    for (int i = 0; i < 50; ++i) write(*file, groupOf(i), std::to_string(i), noise(50));
    write(*file, "/", "x", pattern(100));
    write(*file, "/", "y", pattern(7));
  }
  {
    const auto file = writer();
    write(*file, "/g1/new", "n", pattern(60));
    EXPECT_EQ(readAll(*file, "/g4", "49"), noise(50)) << "reading between writes";
    write(*file, "/g1/new", "o", pattern(61));
    write(*file, "/", "x", pattern(8));  // in place of those from before
    write(*file, "/", "y", pattern(200));
    EXPECT_TRUE(file->closeIfOpen(false)) << "tables that are not written yet survive";
    write(*file, "/", "z", pattern(500));
    EXPECT_TRUE(file->closeIfOpen(true));
  }
  const auto file = reader();
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(readAll(*file, groupOf(i), std::to_string(i)), noise(50)) << i;
  }
  EXPECT_EQ(readAll(*file, "/g1/new", "n"), pattern(60));
  EXPECT_EQ(readAll(*file, "/g1/new", "o"), pattern(61));
  EXPECT_EQ(readAll(*file, "/", "x"), pattern(8));
  EXPECT_EQ(readAll(*file, "/", "y"), pattern(200));
  EXPECT_EQ(readAll(*file, "/", "z"), pattern(500));
}

TEST_F(RoundTrip, ReopenedFileMayEndUpWithShorterTables) {
  {
    const auto file = writer();
    for (int i = 0; i < 300; ++i) {  // subgroups that one dataset then replaces
      write(*file, "/bulk/" + std::to_string(i * 7919), "name", noise(10));
    }
    write(*file, "/", "kept", pattern(40));
  }
  const auto before = stored().size();
  write(*writer(), "/", "bulk", pattern(3));
  EXPECT_EQ(stored().size(), before);
  EXPECT_EQ(readAll(*reader(), "/", "bulk"), pattern(3));
  EXPECT_EQ(readAll(*reader(), "/", "kept"), pattern(40));
}

TEST_F(RoundTrip, FilesThatCannotBeWrittenRefuse) {
  write(*writer(), "/", "x", pattern(50));
  EXPECT_EQ(write(*reader(), "/", "y", pattern(50)), -1);
  EXPECT_EQ(reader()->createGroup("/new"), -1);
  SdfFile nowhere(&manager_, path("absent/file"), true, "", false);
  EXPECT_EQ(write(nowhere, "/", "y", pattern(50)), -2);
}

}  // namespace
}  // namespace Kelbor::MathModule

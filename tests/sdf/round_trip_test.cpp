#include <gtest/gtest.h>

#include "container_bytes.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

using Storage = DatasetInfo::Storage;

class RoundTrip : public ::testing::Test {
 protected:
  std::unique_ptr<SdfFile> openForWriting(bool compress = false) {
    return std::make_unique<SdfFile>(&manager_, directory_.path("file"), true, "", compress);
  }
  std::unique_ptr<SdfFile> openForReading() {
    return std::make_unique<SdfFile>(&manager_, directory_.path("file"), false, "", false);
  }
  int write(SdfFile& file, const std::string& group, const std::string& name, const Bytes& content,
            std::uint64_t* storedSize = nullptr) {
    return file.writeDataset(group, name, *sourceOf(manager_, content), storedSize);
  }

  DataManager manager_;
  ScratchDirectory directory_;
};

TEST_F(RoundTrip, SizesAroundTheInlineLimitComeBack) {
  for (const bool compress : {false, true}) {
    ScratchDirectory directory;
    const std::vector<std::size_t> sizes{0, 1, 15, 16, 17, 18, 1000, 100'000};
    {
      SdfFile file(&manager_, directory.path("file"), true, "", compress);
      for (const std::size_t size : sizes) {
        const std::string suffix = std::to_string(size);
        EXPECT_EQ(write(file, "/n", suffix, noise(size)), 0);
        EXPECT_EQ(write(file, "p", suffix, pattern(size)), 0);
      }
    }
    SdfFile file(&manager_, directory.path("file"), false, "", false);
    for (const std::size_t size : sizes) {
      const std::string suffix = std::to_string(size);
      EXPECT_EQ(readAll(file, "n", suffix), noise(size)) << size;
      EXPECT_EQ(readAll(file, "/p", suffix), pattern(size)) << size;
      EXPECT_EQ(file.getDatasetSize("/n/", suffix), size);
      const auto info = file.getDatasetInfo("/n", suffix);
      ASSERT_TRUE(info);
      EXPECT_EQ(info->storage, size <= 16 ? Storage::inlined : Storage::plain) << size;
      EXPECT_EQ(info->storedSize, size <= 16 ? 0 : size);
    }
    const auto info = file.getDatasetInfo("p", "1000");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->storage, compress ? Storage::deflated : Storage::plain);
    EXPECT_EQ(info->logicalSize, 1000U);
    EXPECT_EQ(info->storedSize < 100, compress);
  }
}

TEST_F(RoundTrip, DataThatLookCompressedGoInAsTheyAre) {
  auto file = openForWriting(true);
  for (const int first : {0x78, 0x28, 0x77}) {
    Bytes content(500, std::byte{3});
    content[0] = static_cast<std::byte>(first);
    std::uint64_t stored = 0;
    const std::string name = std::to_string(first);
    EXPECT_EQ(write(*file, "/", name, content, &stored), 0);
    EXPECT_EQ(stored == 500, first != 0x77) << first;
    EXPECT_EQ(readAll(*file, "/", name), content);
  }
}

TEST_F(RoundTrip, SeveralSourcesAreOneDataset) {
  const Bytes a = pattern(300);
  const Bytes b = pattern(40);
  const auto sourceA = sourceOf(manager_, a);
  const auto again = sourceOf(manager_, a);  // a source without readers drops what was read
  const auto sourceB = sourceOf(manager_, b);
  const auto empty = sourceOf(manager_, {});
  const auto short1 = sourceOf(manager_, pattern(5));
  const auto short2 = sourceOf(manager_, pattern(11));
  DataProvider* const both[] = {sourceA.get(), sourceB.get()};
  DataProvider* const one[] = {empty.get(), again.get()};
  DataProvider* const shorts[] = {short1.get(), short2.get()};
  {
    const auto file = openForWriting(true);
    std::uint64_t stored = 0;
    {
      const LogCapture log;
      EXPECT_EQ(file->writeDatasets("/", "both", both, &stored), 0);
      EXPECT_EQ(log.text().rfind("ERROR: Sdf compression failed! Reason: ", 0), 0U) << log.text();
    }
    EXPECT_EQ(stored, 340U);
    EXPECT_EQ(file->writeDatasets("/", "one", one, &stored), 0);
    EXPECT_LT(stored, 300U);
    EXPECT_EQ(file->writeDatasets("/", "shorts", shorts, &stored), 0);
    EXPECT_EQ(stored, 16U);
  }
  const auto file = openForReading();
  EXPECT_EQ(readAll(*file, "/", "both"), joined(a, b));
  EXPECT_EQ(readAll(*file, "/", "one"), a);
  EXPECT_EQ(readAll(*file, "/", "shorts"), joined(pattern(5), pattern(11)));
}

TEST_F(RoundTrip, GroupsNestAndListInTheOrderOfTheirBytes) {
  {
    const auto file = openForWriting();
    EXPECT_EQ(file->createGroup("/b/c//d/"), 0);
    EXPECT_EQ(file->createGroup("B"), 0);
    EXPECT_EQ(file->createGroup("\xC3\xA4"), 0);
    write(*file, "/b/c", "10", pattern(20));
    write(*file, "/b/c", "9", pattern(20));
  }
  const auto file = openForReading();
  std::vector<std::string> groups;
  std::vector<std::string> datasets;
  EXPECT_EQ(file->listGroups("/", groups), 0);
  EXPECT_EQ(groups, (std::vector<std::string>{"B", "b", "\xC3\xA4"}));
  EXPECT_EQ(file->listEntries("b//c", groups, datasets), 0);
  EXPECT_EQ(groups.back(), "d");
  EXPECT_EQ(datasets, (std::vector<std::string>{"10", "9"}));
  EXPECT_EQ(file->listDatasets("/absent/group", datasets), 0);
  EXPECT_EQ(file->listDatasets("/b/c/9/x", datasets), 0);
  EXPECT_EQ(datasets.size(), 2U);
}

TEST_F(RoundTrip, DatasetInTheWayOfAGroupBecomesItsDot) {
  {
    const auto file = openForWriting();
    write(*file, "/v", "x", pattern(30));
    write(*file, "/v/x", "child", pattern(31));
    write(*file, "/plain/.", "y", pattern(5));
  }
  const auto file = openForReading();
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

TEST_F(RoundTrip, ReplacedDatasetsReadAsTheLatest) {
  {
    const auto file = openForWriting();
    write(*file, "/", "x", pattern(100));
    write(*file, "/", "x", pattern(7));
    write(*file, "/", "y", pattern(7));
    write(*file, "/", "y", pattern(200));
  }
  const auto file = openForReading();
  EXPECT_EQ(readAll(*file, "/", "x"), pattern(7));
  EXPECT_EQ(readAll(*file, "/", "y"), pattern(200));
}

TEST_F(RoundTrip, ReopenedFileKeepsWhatItHadAndTakesMore) {
  {
    const auto file = openForWriting(true);
    for (int i = 0; i < 50; ++i)
      write(*file, "/g" + std::to_string(i % 5), std::to_string(i), noise(50));
  }
  {
    const auto file = openForWriting();
    write(*file, "/g1/new", "n", pattern(60));
    EXPECT_EQ(readAll(*file, "/g4", "49"), noise(50)) << "reading between writes";
    write(*file, "/g1/new", "o", pattern(61));
  }
  const auto file = openForReading();
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(readAll(*file, "/g" + std::to_string(i % 5), std::to_string(i)), noise(50)) << i;
  }
  EXPECT_EQ(readAll(*file, "/g1/new", "n"), pattern(60));
  EXPECT_EQ(readAll(*file, "/g1/new", "o"), pattern(61));
}

TEST_F(RoundTrip, ReopenedFileMayEndUpWithShorterTables) {
  {
    const auto file = openForWriting();
    for (int i = 0; i < 300; ++i) {  // subgroups that one dataset then replaces
      write(*file, "/bulk/" + std::to_string(i * 7919), "name", noise(10));
    }
    write(*file, "/", "kept", pattern(40));
  }
  const auto before = directory_.get("file").size();
  {
    const auto file = openForWriting();
    write(*file, "/", "bulk", pattern(3));
  }
  EXPECT_EQ(directory_.get("file").size(), before);
  const auto file = openForReading();
  EXPECT_EQ(readAll(*file, "/", "bulk"), pattern(3));
  EXPECT_EQ(readAll(*file, "/", "kept"), pattern(40));
}

TEST_F(RoundTrip, UnwrittenTablesOfAReopenedFileSurviveTheClosedStream) {
  { write(*openForWriting(), "/a/b", "x", pattern(50)); }
  {
    const auto file = openForWriting();
    EXPECT_FALSE(file->hasDataset("/", "absent"));
    EXPECT_TRUE(file->closeIfOpen(false));
    write(*file, "/", "y", pattern(500));
    EXPECT_TRUE(file->closeIfOpen(true));
  }
  const auto file = openForReading();
  EXPECT_EQ(readAll(*file, "/a/b", "x"), pattern(50));
  EXPECT_EQ(readAll(*file, "/", "y"), pattern(500));
}

TEST_F(RoundTrip, RefusalsOfTheWriter) {
  { write(*openForWriting(), "/", "x", pattern(50)); }
  const auto readOnly = openForReading();
  EXPECT_EQ(write(*readOnly, "/", "y", pattern(50)), -1);
  EXPECT_EQ(readOnly->createGroup("/new"), -1);
  SdfFile nowhere(&manager_, directory_.path("absent/file"), true, "", false);
  EXPECT_EQ(write(nowhere, "/", "y", pattern(50)), -2);
}

}  // namespace
}  // namespace Kelbor::MathModule

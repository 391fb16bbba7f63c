#include <gtest/gtest.h>

#include "container_bytes.hpp"
#include "core/error.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

class Layout : public ::testing::Test {
 protected:
  SdfFile& open(const Bytes& content, const std::string& flavour = "") {
    file_ = std::make_unique<SdfFile>(&manager_, directory_.put("file", content), false, flavour,
                                      false);
    return *file_;
  }
  std::vector<std::string> datasets(SdfFile& file, const std::string& group = "/") {
    std::vector<std::string> names;
    file.listDatasets(group, names);
    return names;
  }
  /// What is logged while a container of that version and flavour is opened.
  std::string openingLog(std::uint32_t version, const char* flavour, const std::string& expected) {
    SdfFile& file = open(containerOf({}, ByteWriter().u64(0).bytes(), version, flavour), expected);
    const LogCapture log;
    file.ensureOpen();
    return log.text();
  }

  DataManager manager_;
  ScratchDirectory directory_;
  std::unique_ptr<SdfFile> file_;
};

TEST_F(Layout, SmallFileIsWrittenByteByByte) {
  const Bytes payload = noise(17);
  {
    SdfFile file(&manager_, directory_.path("written"), true, "abXYtoo long", true);
    EXPECT_EQ(file.writeDataset("/g", "big", *sourceOf(manager_, payload), nullptr), 0);
    EXPECT_EQ(file.writeDataset("/g", "in", *sourceOf(manager_, bytesOf("inline bytes")), nullptr),
              0);
  }
  const Bytes child = ByteWriter()
                          .u64(2)
                          .record('D', "big", 17, 20, 0)
                          .u8('D')
                          .u64(2)
                          .text("in")
                          .u64(12)
                          .text("inline bytes")
                          .u32(0)
                          .bytes();
  const Bytes storedChild = deflated(child);
  ASSERT_LT(storedChild.size(), child.size());
  const Bytes root =
      ByteWriter().u64(1).record('G', "g", child.size(), 0, storedChild.size()).bytes();
  const Bytes storedRoot = deflated(root);
  ASSERT_LT(storedRoot.size(), root.size());
  const Bytes rootFields =
      ByteWriter().fields(root.size(), storedChild.size(), storedRoot.size()).bytes();
  EXPECT_EQ(directory_.get("written"),
            containerOf(payload, joined(storedChild, storedRoot), rootFields, 106, "abXY"));
}

TEST_F(Layout, EmptyFileHasAnEmptyRootTable) {
  { SdfFile(&manager_, directory_.path("empty"), true, "", false).ensureOpen(); }
  EXPECT_EQ(directory_.get("empty"), containerOf({}, ByteWriter().u64(0).bytes()));
  EXPECT_TRUE(datasets(open(directory_.get("empty"))).empty());
}

TEST_F(Layout, PlainAndDeflatedTablesReadAlike) {
  const Bytes payload = noise(40);
  const Bytes child = ByteWriter().u64(1).record('D', "x", 30, 25, 0).bytes();
  const Bytes storedChild = deflated(child);
  const Bytes root = ByteWriter()
                         .u64(2)
                         .record('G', "deflated", child.size(), 0, storedChild.size())
                         .record('G', "plain", child.size(), storedChild.size(), child.size())
                         .bytes();
  const Bytes storedRoot = deflated(root);
  const Bytes tables = joined(storedChild, child);
  const std::uint64_t at = tables.size();
  SdfFile& file = open(containerOf(payload, joined(tables, storedRoot),
                                   ByteWriter().fields(root.size(), at, storedRoot.size()).bytes(),
                                   106, "\1\2\3\4"));
  const Bytes expected(payload.begin() + 5, payload.begin() + 35);
  EXPECT_EQ(readAll(file, "/deflated", "x"), expected);
  EXPECT_EQ(readAll(file, "/plain", "x"), expected);
}

TEST_F(Layout, VersionsAndFlavoursOnlyWarn) {
  EXPECT_EQ(openingLog(107, "abcd", "efgh"), "WARNING: SDF versions do not match!\n");
  EXPECT_EQ(openingLog(106, "abcd", "efgh"), "WARNING: SDF flavours do not match!\n");
  EXPECT_EQ(openingLog(105, "abcd", "efgh"), "WARNING: SDF flavours do not match!\n");
  EXPECT_EQ(openingLog(104, "abcd", "efgh"), "");
  EXPECT_EQ(openingLog(106, "abcd", "abcdefgh"), "");
  EXPECT_EQ(openingLog(106, "abcd", ""), "");
}

TEST_F(Layout, UnknownRecordsAreSkipped) {
  SdfFile& file = open(containerOf({}, ByteWriter()
                                           .u64(4)
                                           .record('A', "attribute", 1, 2, 3)
                                           .record('D', "first", 1, 'f', 0)
                                           .record('?', "odd", 1, 2, 3)
                                           .record('D', "second", 1, 's', 0)
                                           .bytes()));
  const LogCapture log;
  EXPECT_EQ(datasets(file), (std::vector<std::string>{"first", "second"}));
  EXPECT_EQ(log.text(), "ERROR: Unsupported SdfEntry type!\n");
  EXPECT_EQ(readAll(file, "/", "second"), bytesOf("s"));
  EXPECT_FALSE(file.hasDataset("/", "odd"));
  EXPECT_FALSE(file.hasDataset("/", "attribute"));
}

TEST_F(Layout, AttributesKeepTheirFieldsButStringAttributesLoseTheirTag) {
  directory_.put(
      "file",
      containerOf({},
                  ByteWriter().u64(2).record('A', "a", 1, 2, 3).record('S', "s", 4, 5, 6).bytes()));
  { SdfFile(&manager_, directory_.path("file"), true, "", false).ensureOpen(); }
  EXPECT_EQ(directory_.get("file").size(), 20U + 8 + 2 * 34 + 24) << "never shorter than it was";
  SdfFile& file = open(directory_.get("file"));
  const LogCapture log;
  EXPECT_TRUE(datasets(file).empty());
  EXPECT_EQ(log.text(), "ERROR: Unsupported SdfEntry type!\n");
}

TEST_F(Layout, NamesEndAtTheirFirstZeroAndLaterRecordsReplace) {
  SdfFile& file = open(containerOf({}, ByteWriter()
                                           .u64(3)
                                           .record('D', std::string_view("z\0tail", 6), 1, '1', 0)
                                           .record('D', "b", 1, '2', 0)
                                           .record('D', "z", 1, '3', 0)
                                           .bytes()));
  EXPECT_EQ(datasets(file), (std::vector<std::string>{"b", "z"})) << "unsorted records are sorted";
  EXPECT_EQ(readAll(file, "/", "z"), bytesOf("3"));
}

TEST_F(Layout, FilesThatAreNoContainerDoNotOpen) {
  const Bytes good = containerOf({}, ByteWriter().u64(0).bytes());
  Bytes magic = good;
  magic[0] = std::byte{'s'};
  Bytes noTables = good;
  noTables[8] = std::byte{0};
  Bytes beyond = good;
  beyond[8] = static_cast<std::byte>(good.size() - 23);
  const Bytes tooShort(good.begin(), good.begin() + 43);
  const auto failedLog = [&](const Bytes& content) {
    SdfFile& file = open(content);
    const LogCapture log;
    EXPECT_THROW(file.ensureOpen(), std::runtime_error);
    return log.text();
  };
  const std::string failed = "ERROR: Failed to open file\n";
  EXPECT_EQ(failedLog(magic), "ERROR: File is no Sdf-File!\n" + failed);
  EXPECT_EQ(failedLog(tooShort), failed);
  EXPECT_EQ(failedLog(noTables), failed);
  EXPECT_EQ(failedLog(beyond), "ERROR: Sdf table region lies beyond the file!\n" + failed);
}

TEST_F(Layout, ShortFileOpenedForWritingIsStartedAnew) {
  directory_.put("file", Bytes(43, std::byte{0xFF}));
  {
    SdfFile file(&manager_, directory_.path("file"), true, "", false);
    EXPECT_EQ(file.writeDataset("/", "x", *sourceOf(manager_, pattern(3)), nullptr), 0);
  }
  EXPECT_EQ(readAll(open(directory_.get("file")), "/", "x"), pattern(3));
}

TEST_F(Layout, FileThatWasNeverClosedIsNoFinishedContainer) {
  SdfFile writer(&manager_, directory_.path("open"), true, "", false);
  EXPECT_EQ(writer.writeDataset("/", "x", *sourceOf(manager_, noise(300)), nullptr), 0);
  EXPECT_TRUE(writer.closeIfOpen(false));
  const Bytes unfinished = directory_.get("open");
  EXPECT_EQ(unfinished.size(), 320U);
  SdfFile& file = open(unfinished);  // the trailer is the end of the payload
  EXPECT_THROW((void)file.hasDataset("/", "x"), KelborDataException);
}

}  // namespace
}  // namespace Kelbor::MathModule

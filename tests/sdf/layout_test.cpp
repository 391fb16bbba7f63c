#include "container_bytes.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

using Names = std::vector<std::string>;

class Layout : public ContainerTest {
 protected:
  static Names datasets(SdfFile& file) {
    Names names;
    file.listDatasets("/", names);
    return names;
  }
  /// What is logged while a container of that version and flavour is opened.
  std::string openingLog(std::uint32_t version, const char* flavour, const std::string& expected) {
    put(containerOf({}, tableOf({}), {'G', "", 8, 0, 8}, version, flavour));
    SdfFile file(&manager_, path(), false, expected, false);
    const LogCapture log;
    file.ensureOpen();
    return log.text();
  }
};

TEST_F(Layout, SmallFileIsWrittenByteByByte) {
  const Bytes payload = noise(17);
  {
    SdfFile file(&manager_, path(), true, "abXYtoo long", true);
    EXPECT_EQ(write(file, "/g", "big", payload), 0);
    EXPECT_EQ(write(file, "/g", "in", bytesOf("inline bytes")), 0);
  }
  const Bytes child = tableOf({{'D', "big", 17, 20, 0}, inlined("in", "inline bytes")});
  const Bytes storedChild = deflated(child);
  ASSERT_LT(storedChild.size(), child.size());
  const Bytes root = tableOf({{'G', "g", child.size(), 0, storedChild.size()}});
  const Bytes storedRoot = deflated(root);
  ASSERT_LT(storedRoot.size(), root.size());
  EXPECT_EQ(stored(), containerOf(payload, joined(storedChild, storedRoot),
                                  {'G', "", root.size(), storedChild.size(), storedRoot.size()},
                                  106, "abXY"));
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
  const auto file = reader(containerOf({}, tableOf({{'A', "attribute", 1, 2, 3},
                                                    inlined("first", "f"),
                                                    {'?', "odd", 1, 2, 3},
                                                    inlined("second", "s")})));
  const LogCapture log;
  EXPECT_EQ(datasets(*file), (Names{"first", "second"}));
  EXPECT_EQ(log.text(), "ERROR: Unsupported SdfEntry type!\n");
  EXPECT_EQ(readAll(*file, "/", "second"), bytesOf("s"));
  EXPECT_FALSE(file->hasDataset("/", "odd"));
  EXPECT_FALSE(file->hasDataset("/", "attribute"));
}

TEST_F(Layout, NamesEndAtTheirFirstZeroAndLaterRecordsReplace) {
  const auto file = reader(containerOf(
      {}, tableOf({inlined({"z\0tail", 6}, "1"), inlined("b", "2"), inlined("z", "3")})));
  EXPECT_EQ(datasets(*file), (Names{"b", "z"})) << "unsorted records are sorted";
  EXPECT_EQ(readAll(*file, "/", "z"), bytesOf("3"));
}

TEST_F(Layout, FilesThatAreNoContainerDoNotOpen) {
  const Bytes good = containerOf({}, tableOf({}));
  const auto changed = [&good](std::size_t at, std::size_t value) {
    Bytes bytes = good;
    bytes[at] = static_cast<std::byte>(value);
    return bytes;
  };
  const auto failedLog = [&](const Bytes& content) {
    const auto file = reader(content);
    const LogCapture log;
    EXPECT_THROW(file->ensureOpen(), std::runtime_error);
    return log.text();
  };
  const std::string failed = "ERROR: Failed to open file\n";
  EXPECT_EQ(failedLog(changed(0, 's')), "ERROR: File is no Sdf-File!\n" + failed);
  EXPECT_EQ(failedLog(Bytes(good.begin(), good.begin() + 43)), failed);
  EXPECT_EQ(failedLog(changed(8, 0)), failed) << "no tables";
  EXPECT_EQ(failedLog(changed(8, good.size() - 23)),
            "ERROR: Sdf table region lies beyond the file!\n" + failed);
}

}  // namespace
}  // namespace Kelbor::MathModule

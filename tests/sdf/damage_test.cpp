#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>

#include "container_bytes.hpp"
#include "core/error.hpp"
#include "support/defined_failure.hpp"
#include "support/log_capture.hpp"
#include "support/memory_file.hpp"

namespace Kelbor::MathModule {
namespace {

/// What a file shows: the content of each dataset that can be read, by path.
using Contents = std::map<std::string, Bytes>;

class Damage : public ::testing::Test {
 protected:
  Damage() {
    SdfFile file(&manager_, directory_.path("whole"), true, "", true);
    file.writeDataset("/a/b", "deflated", *sourceOf(manager_, pattern(400)), nullptr);
    file.writeDataset("/a/b", "inline", *sourceOf(manager_, pattern(9)), nullptr);
    file.writeDataset("/a", "plain", *sourceOf(manager_, noise(30)), nullptr);
    file.writeDataset("/a/plain", "child", *sourceOf(manager_, noise(18)), nullptr);
  }

  /// Runs what damage may let fail, as long as the failure is a defined one.
  template <class Action>
  static void expectDefined(Action&& action) {
    try {
      action();
    } catch (...) {
      EXPECT_EQ(morvex::undefinedFailure(), "");
    }
  }

  /// Reads all that the file shows, in whole and from each half on, to a depth that no sound sample
  /// here has.
  static void readTree(SdfFile& file, Contents& contents, const std::string& path = "/",
                       int depth = 0) {
    std::vector<std::string> groups;
    std::vector<std::string> datasets;
    expectDefined([&] { file.listEntries(path, groups, datasets); });
    for (const std::string& name : datasets) {
      expectDefined([&] {
        const std::uint64_t size = file.getDatasetSize(path, name);
        const Bytes content = readAll(file, path, name);
        EXPECT_EQ(content.size(), size) << path << name;
        const Bytes tail = contentOf(*file.getDataProvider(path, name, 0, size / 2));
        EXPECT_TRUE(std::ranges::equal(std::span(content).subspan(size / 2), tail)) << path << name;
        contents[path + name] = content;
      });
    }
    if (depth == 4) return;
    for (const std::string& name : groups) readTree(file, contents, path + name + "/", depth + 1);
  }
  Contents contentsOf(const Bytes& bytes) {
    memory_.set(bytes);
    SdfFile file(&manager_, memory_.path(), false, "", false);
    Contents contents;
    readTree(file, contents);
    return contents;
  }
  /// Opens the bytes for writing, adds something and finishes.
  void rewrite(const Bytes& bytes) {
    memory_.set(bytes);
    SdfFile file(&manager_, memory_.path(), true, "", true);
    expectDefined(
        [&] { file.writeDataset("/a/new", "x", *sourceOf(manager_, noise(30)), nullptr); });
  }

  DataManager manager_;
  ScratchDirectory directory_;
  morvex::MemoryFile memory_;
  LogCapture log_{LogLevel::silent};
};

TEST_F(Damage, EveryTruncationIsRefused) {
  const Bytes whole = directory_.get("whole");
  EXPECT_EQ(contentsOf(whole).size(), 4U);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(contentsOf(cut), Contents()) << "length " << length;
  }
}

TEST_F(Damage, EveryDamagedBitOfATableIsSurvived) {
  const Bytes whole = directory_.get("whole");
  const Contents healthy = contentsOf(whole);
  std::uint64_t tables = 0;
  std::memcpy(&tables, whole.data() + kTableOffsetPosition, sizeof tables);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    if (at == kHeaderSize) at = tables;
    for (int bit = 0; bit < 8; ++bit) {
      Bytes damaged = whole;
      damaged[at] ^= static_cast<std::byte>(1U << bit);
      EXPECT_LE(contentsOf(damaged).size(), healthy.size()) << "byte " << at << " bit " << bit;
      rewrite(damaged);
    }
  }
  EXPECT_EQ(contentsOf(whole), healthy);
}

TEST_F(Damage, DamagedPayloadReachesNoOtherDataset) {
  const Bytes whole = directory_.get("whole");
  const Contents healthy = contentsOf(whole);
  std::uint64_t tables = 0;
  std::memcpy(&tables, whole.data() + kTableOffsetPosition, sizeof tables);
  for (std::size_t at = kHeaderSize; at < tables; ++at) {
    Bytes damaged = whole;
    damaged[at] ^= std::byte{0xFF};
    const Contents contents = contentsOf(damaged);
    // A deflate stream fails where its bytes can't be trusted; plain bytes are what they are.
    std::size_t same = 0;
    for (const auto& [path, content] : contents) {
      if (content == healthy.at(path)) ++same;
      EXPECT_EQ(content.size(), healthy.at(path).size()) << path << ", byte " << at;
    }
    EXPECT_EQ(same, healthy.size() - 1) << "byte " << at;
    EXPECT_EQ(contents.contains("/a/b/deflated"), contents.size() == healthy.size());
  }
}

TEST_F(Damage, TablesBeyondTheRegionAreRefused) {
  constexpr std::uint64_t kHuge = ~std::uint64_t{0};
  const Bytes table = ByteWriter().u64(0).bytes();
  const std::uint64_t regionSize = table.size() + 24;
  struct Claim {
    std::uint64_t field1, field2, field3;
  };
  for (const Claim claim :
       {Claim{8, regionSize, 8}, Claim{8, kHuge, 8}, Claim{kHuge, 0, kHuge}, Claim{8, 0, kHuge},
        Claim{kHuge, 8, 8}, Claim{1032 * 8 + 1, 0, 8}, Claim{7, 0, 7}, Claim{9, 0, 0}}) {
    directory_.put(
        "claim", containerOf({}, table,
                             ByteWriter().fields(claim.field1, claim.field2, claim.field3).bytes(),
                             106, "----"));
    SdfFile file(&manager_, directory_.path("claim"), false, "", false);
    for (int attempt = 0; attempt < 2; ++attempt) {  // a table that failed is not half loaded
      EXPECT_THROW((void)file.hasDataset("/", "x"), KelborDataException)
          << claim.field1 << " " << claim.field2 << " " << claim.field3;
    }
  }
}

TEST_F(Damage, CountsAndNameLengthsAreHeldAgainstTheTable) {
  const Bytes one = ByteWriter().record('D', "x", 1, 'x', 0).bytes();
  for (const Bytes& table :
       {ByteWriter().u64(2).raw(one).bytes(), ByteWriter().u64(~std::uint64_t{0}).raw(one).bytes(),
        ByteWriter().u64(1).u8('D').u64(2).text("x").fields(1, 2, 3).bytes(),
        ByteWriter().u64(1).u8('D').u64(~std::uint64_t{0} - 30).raw(one).bytes()}) {
    directory_.put("counts", containerOf({}, table));
    SdfFile file(&manager_, directory_.path("counts"), false, "", false);
    EXPECT_THROW((void)file.hasDataset("/", "x"), KelborDataException);
  }
}

TEST_F(Damage, DamagedTableStreamRaisesItsOwnText) {
  const Bytes table = ByteWriter().u64(1).record('D', "x", 1, 'x', 0).bytes();
  Bytes stream = deflated(table);
  stream[5] ^= std::byte{0xFF};
  directory_.put(
      "stream", containerOf({}, stream, ByteWriter().fields(table.size(), 0, stream.size()).bytes(),
                            106, "----"));
  SdfFile file(&manager_, directory_.path("stream"), false, "", false);
  try {
    (void)file.hasDataset("/", "x");
    FAIL() << "the stream is damaged";
  } catch (const Exception& failure) {
    EXPECT_EQ(failure.message(), "Failed to decompress SdfGroup!");
  }
}

TEST_F(Damage, GroupThatHoldsItselfIsWalkedByPathAndNeverRewritten) {
  // The root's table is at 0; so is that of its child "me", and of the child's twin.
  const std::uint64_t size = 8 + 2 * 35;
  const Bytes table =
      ByteWriter().u64(2).record('G', "me", size, 0, size).record('G', "my", size, 0, size).bytes();
  ASSERT_EQ(table.size(), size);
  const Bytes content = containerOf({}, table);
  directory_.put("cycle", content);
  {
    SdfFile file(&manager_, directory_.path("cycle"), false, "", false);
    std::vector<std::string> groups;
    EXPECT_EQ(file.listGroups("/me/my/me/me", groups), 0);
    EXPECT_EQ(groups, (std::vector<std::string>{"me", "my"}));
    EXPECT_FALSE(file.hasDataset("/me/my", "me"));
  }
  { SdfFile(&manager_, directory_.path("cycle"), true, "", false).ensureOpen(); }
  EXPECT_EQ(directory_.get("cycle"), content) << "a tree without end is left as it stands";
}

TEST_F(Damage, TreeTooDeepToRewriteKeepsItsHeader) {
  {
    SdfFile file(&manager_, directory_.path("deep"), true, "", false);
    std::string path;
    for (int depth = 0; depth < 1001; ++depth) path += "/d";
    EXPECT_EQ(file.createGroup(path), 0);
  }
  EXPECT_EQ(directory_.get("deep").size(), 20U);
}

TEST_F(Damage, GroupOfManyEntriesLoadsOnceAndQuickly) {
  constexpr int kCount = 100'000;
  ByteWriter table;
  table.u64(kCount);
  for (int i = 0; i < kCount; ++i) table.record('D', std::to_string(kCount + i), 1, 'x', 0);
  directory_.put("many", containerOf({}, table.bytes()));
  SdfFile file(&manager_, directory_.path("many"), false, "", false);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(file.hasDataset("/", "150000"));
  const auto loaded = std::chrono::steady_clock::now();
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(file.hasDataset("/", std::to_string(kCount + i)));
  const auto found = std::chrono::steady_clock::now();
  RecordProperty("load_us", static_cast<int>((loaded - start) / std::chrono::microseconds(1)));
  EXPECT_LT(found - loaded, std::chrono::seconds(2)) << "the table must not be parsed again";
}

}  // namespace
}  // namespace Kelbor::MathModule

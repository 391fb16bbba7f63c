#include <limits>

#include "container_bytes.hpp"
#include "core/error.hpp"
#include "support/defined_failure.hpp"
#include "support/log_capture.hpp"
#include "support/memory_file.hpp"

namespace Kelbor::MathModule {
namespace {

class Damage : public ContainerTest {
 protected:
  /// Runs what damage may let fail, as long as the failure is a defined one.
  template <class Action>
  static void expectDefined(Action&& action) {
    try {
      action();
    } catch (...) {
      EXPECT_EQ(morvex::undefinedFailure(), "");
    }
  }

  LogCapture log_{LogLevel::kSilent};
};

/// What reading makes of such files is asked through the exports.
TEST_F(Damage, EveryDamagedBitOfATableIsSurvivedByTheWriter) {
  {
    const auto file = writer(/*compress=*/true);
    write(*file, "/a/b", "deflated", pattern(400));
    write(*file, "/a/b", "inline", pattern(9));
    write(*file, "/a", "plain", noise(30));
    write(*file, "/a/plain", "child", noise(18));
  }
  const Bytes whole = stored();
  std::uint64_t tables = 0;
  std::memcpy(&tables, whole.data() + kTableOffsetPosition, sizeof tables);
  const morvex::MemoryFile memory;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    if (at == kHeaderSize) at = tables;
    for (int bit = 0; bit < 8; ++bit) {
      Bytes damaged = whole;
      damaged[at] ^= static_cast<std::byte>(1U << bit);
      memory.set(damaged);
      SdfFile file(&manager_, memory.path(), true, "", true);
      expectDefined([&] { write(file, "/a/new", "x", noise(30)); });
    }
  }
}

TEST_F(Damage, TablesThatCannotBeAreRefusedEachTime) {
  constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();
  const auto refused = [this](const Bytes& region, const Record& root) {
    const auto file = reader(containerOf({}, region, root));
    for (int attempt = 0; attempt < 2; ++attempt) {  // a table that failed is not half loaded
      EXPECT_THROW((void)file->hasDataset("/", "x"), KelborDataException)
          << root.field1 << " " << root.field2 << " " << root.field3;
    }
  };
  const std::uint64_t regionSize = 8 + 24;
  for (const Record& root : std::initializer_list<Record>{{'G', "", 8, regionSize, 8},
                                                          {'G', "", 8, kHuge, 8},
                                                          {'G', "", kHuge, 0, kHuge},
                                                          {'G', "", 8, 0, kHuge},
                                                          {'G', "", kHuge, 8, 8},
                                                          {'G', "", 1032 * 8 + 1, 0, 8},
                                                          {'G', "", 7, 0, 7},
                                                          {'G', "", 9, 0, 0}}) {
    refused(tableOf({}), root);
  }
  const Bytes one = recordOf(inlined("x", "x"));
  for (const Bytes& table :
       {joined(ByteWriter().u64({2}).bytes(), one), joined(ByteWriter().u64({kHuge}).bytes(), one),
        ByteWriter().u64({1}).text("D").u64({2}).text("x").u64({1, 2, 3}).bytes(),
        joined(ByteWriter().u64({1}).text("D").u64({kHuge - 30}).bytes(), one)}) {
    refused(table, {'G', "", table.size(), 0, table.size()});
  }
}

TEST_F(Damage, DamagedTableStreamRaisesItsOwnText) {
  const Bytes table = tableOf({inlined("x", "x")});
  Bytes stream = deflated(table);
  stream[5] ^= std::byte{0xFF};
  const auto file = reader(containerOf({}, stream, {'G', "", table.size(), 0, stream.size()}));
  try {
    (void)file->hasDataset("/", "x");
    ADD_FAILURE() << "the stream is damaged";
  } catch (const Exception& failure) {
    EXPECT_EQ(failure.message(), "Failed to decompress SdfGroup!");
  }
}

TEST_F(Damage, GroupThatHoldsItselfIsWalkedByPathAndNeverRewritten) {
  // The root's table is at 0; so is that of its child "me", and of the child's twin.
  const std::uint64_t size = 8 + 2 * 35;
  const Bytes content =
      containerOf({}, tableOf({{'G', "me", size, 0, size}, {'G', "my", size, 0, size}}));
  {
    const auto file = reader(content);
    std::vector<std::string> groups;
    EXPECT_EQ(file->listGroups("/me/my/me/me", groups), 0);
    EXPECT_EQ(groups, (std::vector<std::string>{"me", "my"}));
    EXPECT_FALSE(file->hasDataset("/me/my", "me"));
  }
  writer()->ensureOpen();
  EXPECT_EQ(stored(), content) << "a tree without end is left as it stands";
}

}  // namespace
}  // namespace Kelbor::MathModule

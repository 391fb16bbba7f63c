#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// What is stored in place of integers: the inverse of each kind of sum. All arithmetic wraps in 32
/// bits.
namespace morvex::Writer {

using Words = std::vector<std::int32_t>;

/// words - a; with two references words - ((a + b) >> 1).
[[nodiscard]] Words differencesTo(const Words& words, const Words& a);
[[nodiscard]] Words differencesTo(const Words& words, const Words& a, const Words& b);

/// Each value minus the one before.
[[nodiscard]] Words differencesInRow(const Words& words);
/// Each value minus the one at its position in the block before; `blocks` must divide the size.
[[nodiscard]] Words differencesOfBlocks(const Words& words, std::uint64_t blocks);

/// Trees over the positions of an array.
struct Forest {
  /// Pairs of parent and child, tree after tree, each with parents before children.
  std::vector<std::int32_t> edges;
  /// The index of each tree's first pair.
  std::vector<std::uint64_t> starts;
};
/// Binary trees over runs of at most `treeSize` positions; a run of one has no tree.
[[nodiscard]] Forest forestOf(std::uint64_t places, std::uint64_t treeSize = 63);
/// Each value minus its parent's; roots, and positions without a tree, stay.
[[nodiscard]] Words differencesAlong(const Forest& forest, const Words& words);

/// The steps against which a step is stored as a difference, as distances to it; none for a key
/// step. A series has `steps` steps in blocks of `blockSize` (a power of two from 2), with a key
/// step forced after more than `maxDepth` blocks (0: never).
[[nodiscard]] std::vector<std::int32_t> timeReferences(std::int32_t step, std::int32_t steps,
                                                       std::int32_t blockSize,
                                                       std::int32_t maxDepth);
/// "[ts-1]" for -1, "[ts+2]" for 2: the same dataset that many steps away.
[[nodiscard]] std::string timeReferenceKey(std::int32_t distance);

}  // namespace morvex::Writer

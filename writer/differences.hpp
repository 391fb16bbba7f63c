#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// What is stored in place of integers: the other side of each kind of sum. All arithmetic wraps in
/// 32 bits.
namespace morvex::Writer {

using Words = std::vector<std::int32_t>;

/// words - a, or words - (a + b) >> 1 with two references.
[[nodiscard]] Words differencesTo(const Words& words, const Words& a);
[[nodiscard]] Words differencesTo(const Words& words, const Words& a, const Words& b);

/// Each value less the one before.
[[nodiscard]] Words differencesInRow(const Words& words);
/// Each value less the one at its place in the block before; `blocks` must divide the size.
[[nodiscard]] Words differencesOfBlocks(const Words& words, std::uint64_t blocks);

/// Trees over the places of an array.
struct Forest {
  /// Pairs of parent and child; trees stand one after the other, each with parents before children.
  std::vector<std::int32_t> edges;
  /// For each tree the number of its first pair.
  std::vector<std::uint64_t> starts;
};
/// Binary trees over runs of at most `treeSize` places; a run of one place has no tree.
[[nodiscard]] Forest forestOf(std::uint64_t places, std::uint64_t treeSize = 63);
/// Each value less that of its parent; roots, and places without a tree, stay.
[[nodiscard]] Words differencesAlong(const Forest& forest, const Words& words);

/// Other steps that a step of a series in time differences is stored against, as distances; none
/// for a key step. Those of a series of `steps` in blocks of `blockSize` (a power of two from 2),
/// with key steps forced after more than `maxDepth` blocks (0: never).
[[nodiscard]] std::vector<std::int32_t> timeReferences(std::int32_t step, std::int32_t steps,
                                                       std::int32_t blockSize,
                                                       std::int32_t maxDepth);
/// "[ts-1]" for -1, "[ts+2]" for 2: the same dataset that many steps away.
[[nodiscard]] std::string timeReferenceKey(std::int32_t distance);

}  // namespace morvex::Writer

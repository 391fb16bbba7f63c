#include "writer/differences.hpp"

#include <algorithm>
#include <stdexcept>

namespace morvex::Writer {
namespace {

std::int32_t subtract(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

/// The sum wraps before it is halved, towards minus infinity.
std::int32_t meanOf(std::int32_t a, std::int32_t b) {
  const auto sum = static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b);
  return static_cast<std::int32_t>(sum) >> 1;
}

/// Blocks count from 0: the last block of each run of `maxDepth` + 1 ends in a key step.
bool endsInForcedKey(std::int32_t block, std::int32_t maxDepth) {
  return maxDepth > 0 && (block + 1) % (maxDepth + 1) == 0;
}

}  // namespace

Words differencesTo(const Words& words, const Words& a) {
  return differencesTo(words, a, a);
}

Words differencesTo(const Words& words, const Words& a, const Words& b) {
  if (a.size() != words.size() || b.size() != words.size()) {
    throw std::logic_error("Time differences need the same number of values in each step");
  }
  // The mean of a step with itself would lose the bit that wraps.
  const bool hasOneReference = &a == &b;
  Words result(words.size());
  for (std::size_t i = 0; i < words.size(); ++i) {
    result[i] = subtract(words[i], hasOneReference ? a[i] : meanOf(a[i], b[i]));
  }
  return result;
}

Words differencesInRow(const Words& words) {
  return differencesOfBlocks(words, words.size());
}

Words differencesOfBlocks(const Words& words, std::uint64_t blocks) {
  const std::size_t blockSize = blocks == 0 ? words.size() : words.size() / blocks;
  Words result = words;
  for (std::size_t i = blockSize; i < words.size(); ++i) {
    result[i] = subtract(words[i], words[i - blockSize]);
  }
  return result;
}

Forest forestOf(std::uint64_t places, std::uint64_t treeSize) {
  Forest forest;
  for (std::uint64_t begin = 0; begin < places; begin += treeSize) {
    const std::uint64_t size = std::min(treeSize, places - begin);
    if (size == 1) continue;
    forest.starts.push_back(forest.edges.size() / 2);
    // The layout of a heap: node i has the parent (i - 1) / 2, which comes first.
    for (std::uint64_t i = 1; i < size; ++i) {
      forest.edges.push_back(static_cast<std::int32_t>(begin + (i - 1) / 2));
      forest.edges.push_back(static_cast<std::int32_t>(begin + i));
    }
  }
  return forest;
}

Words differencesAlong(const Forest& forest, const Words& words) {
  Words result = words;
  for (std::size_t e = 0; e + 1 < forest.edges.size(); e += 2) {
    const auto parent = static_cast<std::size_t>(forest.edges[e]);
    const auto child = static_cast<std::size_t>(forest.edges[e + 1]);
    result.at(child) = subtract(words.at(child), words.at(parent));
  }
  return result;
}

std::vector<std::int32_t> timeReferences(std::int32_t step, std::int32_t steps,
                                         std::int32_t blockSize, std::int32_t maxDepth) {
  if (blockSize < 2) throw std::logic_error("Time differences need blocks of steps");
  const std::int32_t wholeBlocks = (steps - 1) / blockSize;
  const std::int32_t lastOfBlocks = wholeBlocks * blockSize;
  // The ends of the whole blocks and the last step are key steps. Steps between the last two refer
  // to the one before.
  if (step == 0 || step == lastOfBlocks || step == steps - 1) return {};
  if (step > lastOfBlocks) return {-1};
  const std::int32_t place = step % blockSize;
  if (place == 0) {
    if (endsInForcedKey(step / blockSize - 1, maxDepth)) return {};
    return {-blockSize};
  }
  // Step s lies midway between s - d and s + d, where d is the largest power of two that divides s.
  const std::int32_t reach = place & -place;
  return {-reach, reach};
}

std::string timeReferenceKey(std::int32_t distance) {
  return (distance < 0 ? "[ts" : "[ts+") + std::to_string(distance) + "]";
}

}  // namespace morvex::Writer

#include "recipes/time_differences.hpp"

#include <bit>
#include <stdexcept>

#include "core/error.hpp"

namespace morvex {
namespace {

constexpr std::int32_t kNotPlaced = -1;

/// The steps of one block: "BI", doubled until the block is full. Each doubling turns the last step
/// into a middle step and repeats the whole.
TimePattern blockTemplate(std::int32_t blockSize) {
  TimePattern steps{{'B', 1, kNotPlaced}, {'I', blockSize, kNotPlaced}};
  steps.reserve(static_cast<std::size_t>(blockSize));
  for (std::int32_t n = 4; n <= blockSize && n > 0; n *= 2) {
    const TimePattern half = steps;
    steps.back() = {'M', n / 2, kNotPlaced};
    steps.insert(steps.end(), half.begin(), half.end());
    if (n == blockSize) break;  // doubling the largest size would overflow
  }
  return steps;
}

}  // namespace

CompressTimeDifferences::CompressTimeDifferences(std::int32_t numberOfSteps, std::int32_t blockSize,
                                                 std::int32_t maxDepth)
    : numberOfSteps_(numberOfSteps), blockSize_(blockSize), maxDepth_(maxDepth) {
  if (blockSize < 2 || !std::has_single_bit(static_cast<std::uint32_t>(blockSize))) {
    Kelbor::raise<std::invalid_argument>("Block size is not a power of two!");
  }
}

TimePattern CompressTimeDifferences::pattern() const {
  TimePattern steps;
  if (numberOfSteps_ < 1) return steps;
  const std::int32_t wholeBlocks = (numberOfSteps_ - 1) / blockSize_;
  const std::int32_t rest = (numberOfSteps_ - 1) % blockSize_;
  steps.reserve(static_cast<std::size_t>(numberOfSteps_));
  steps.push_back({'K', 0, 0});

  if (wholeBlocks > 0) {  // otherwise a huge block would be built for nothing
    TimePattern block = blockTemplate(blockSize_);
    std::int32_t lastKey = -1;
    for (std::int32_t b = 0; b < wholeBlocks; ++b) {
      for (PatternEntry& entry : block) entry.block = b + 1;
      steps.insert(steps.end(), block.begin(), block.end());
      if (maxDepth_ > 0 && b - lastKey > maxDepth_) {
        steps.back() = {'K', 0, b + 1};
        lastKey = b;
      }
    }
  }
  steps.back() = {'K', 0, wholeBlocks};
  for (std::int32_t i = 1; i <= rest; ++i) {
    steps.push_back(i == rest ? PatternEntry{'K', 0, wholeBlocks + 1}
                              : PatternEntry{'A', -1, wholeBlocks + 1});
  }
  return steps;
}

std::string toString(const PatternEntry& entry) {
  std::string text(1, entry.kind);
  if (entry.kind == 'M') text += std::to_string(entry.distance);
  return text;
}

std::string toString(const TimePattern& pattern) {
  std::string text;
  for (const PatternEntry& entry : pattern) text += toString(entry);
  return text;
}

}  // namespace morvex

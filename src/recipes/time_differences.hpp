#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex {

/// What a time step is in a series that is stored as differences.
struct PatternEntry {
  /// 'K' key step, whole data; 'B' between direct neighbours; 'M' middle of a sub-block; 'I' last
  /// of a block; 'A' in the incomplete tail.
  char kind = 'K';
  /// Steps to what it depends on: half a sub-block for 'M', a block for 'I', 1 for 'B', 0 for 'K',
  /// -1 for 'A'.
  std::int32_t distance = 0;
  /// Number of the block that the step lies in, -1 in a template.
  std::int32_t block = 0;
};

using TimePattern = std::vector<PatternEntry>;

/// The rule by which the steps of a series depend on each other. It is not stored: it follows from
/// the number of steps and two numbers in the file.
class CompressTimeDifferences {
 public:
  /// `blockSize` is in steps; `maxDepth` is the greatest number of blocks between forced key steps,
  /// none forced at 0 or below. std::invalid_argument "Block size is not a power of two!" unless
  /// the size is 2, 4, 8, ...
  CompressTimeDifferences(std::int32_t numberOfSteps, std::int32_t blockSize,
                          std::int32_t maxDepth);
  virtual ~CompressTimeDifferences() = default;

  /// One entry for each step, none for a series without steps.
  [[nodiscard]] TimePattern pattern() const;

 private:
  std::int32_t numberOfSteps_;
  std::int32_t blockSize_;
  std::int32_t maxDepth_;
};

/// One letter for a step, for 'M' with the distance behind it.
[[nodiscard]] std::string toString(const PatternEntry& entry);
/// All steps without separators, for example "KBM2BI".
[[nodiscard]] std::string toString(const TimePattern& pattern);

}  // namespace morvex

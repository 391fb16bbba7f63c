#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex {

/// The role of a time step in a series stored as differences.
struct PatternEntry {
  /// 'K' key step with whole data; 'B' between direct neighbours; 'M' middle of a sub-block; 'I'
  /// last of a block; 'A' in the incomplete tail.
  char kind = 'K';
  /// Steps to the ones that it depends on: half a sub-block for 'M', a block for 'I', 1 for 'B', 0
  /// for 'K', -1 for 'A'.
  std::int32_t distance = 0;
  /// Number of the step's block, -1 in a template.
  std::int32_t block = 0;
};

using TimePattern = std::vector<PatternEntry>;

/// The rule for dependencies between the steps of a series. Not stored: it follows from the number
/// of steps and two numbers in the file.
class CompressTimeDifferences {
 public:
  /// `blockSize` is in steps. `maxDepth` is the largest number of blocks between forced key steps;
  /// 0 or less forces none. std::invalid_argument "Block size is not a power of two!" unless the
  /// size is 2, 4, 8, ...
  CompressTimeDifferences(std::int32_t numberOfSteps, std::int32_t blockSize,
                          std::int32_t maxDepth);
  virtual ~CompressTimeDifferences() = default;

  /// One entry per step.
  [[nodiscard]] TimePattern pattern() const;

 private:
  std::int32_t numberOfSteps_;
  std::int32_t blockSize_;
  std::int32_t maxDepth_;
};

/// One letter per step, with the distance appended for 'M'.
[[nodiscard]] std::string toString(const PatternEntry& entry);
/// All steps without separators, for example "KBM2BI".
[[nodiscard]] std::string toString(const TimePattern& pattern);

}  // namespace morvex

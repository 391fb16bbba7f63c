#pragma once

#include <cstdint>
#include <vector>

namespace Kelbor::MathModule::Kernels {

/// One instruction set that the kernels are compiled for. `bit` identifies it to useSimdTarget.
struct SimdTarget {
  std::int64_t bit;
  const char* name;
};

/// Instruction sets that the kernels have code for and this machine can run, best first. The plain
/// path that every machine runs is the last.
[[nodiscard]] std::vector<SimdTarget> simdTargets();

/// Pins all kernels of the process to one of simdTargets(). Results are the same bits on each, so
/// this serves tests and measurements only. Not to be called while a kernel runs.
void useSimdTarget(const SimdTarget& target);

/// Back to the best one.
void useBestSimdTarget();

}  // namespace Kelbor::MathModule::Kernels

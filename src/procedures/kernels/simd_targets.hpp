#pragma once

#include <cstdint>
#include <vector>

namespace Kelbor::MathModule::Kernels {

/// An instruction set that the kernels are compiled for. `bit` identifies it to useSimdTarget().
struct SimdTarget {
  std::int64_t bit;
  const char* name;
};

/// The compiled instruction sets that this machine supports, best first. The last one is the plain
/// path, which every machine supports.
[[nodiscard]] std::vector<SimdTarget> simdTargets();

/// Pins all kernels of the process to one of simdTargets(), for tests and measurements: results are
/// bit-identical on all. Not to be called while a kernel runs.
void useSimdTarget(const SimdTarget& target);

/// Selects the best one again.
void useBestSimdTarget();

}  // namespace Kelbor::MathModule::Kernels

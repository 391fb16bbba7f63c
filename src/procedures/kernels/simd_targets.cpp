#include "procedures/kernels/simd_targets.hpp"

#include <hwy/highway.h>

namespace Kelbor::MathModule::Kernels {
namespace {

void pin(std::int64_t mask) {
  hwy::SetSupportedTargetsForTest(mask);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace

std::vector<SimdTarget> simdTargets() {
  std::vector<SimdTarget> targets;
  for (const std::int64_t bit : hwy::SupportedAndGeneratedTargets()) {
    targets.push_back({bit, hwy::TargetName(bit)});
  }
  // Highway reports the plain path as supported only if there is nothing better.
  if (targets.empty() || targets.back().bit != HWY_STATIC_TARGET) {
    targets.push_back({HWY_STATIC_TARGET, hwy::TargetName(HWY_STATIC_TARGET)});
  }
  return targets;
}

void useSimdTarget(const SimdTarget& target) {
  pin(target.bit);
}

void useBestSimdTarget() {
  pin(0);
}

}  // namespace Kelbor::MathModule::Kernels

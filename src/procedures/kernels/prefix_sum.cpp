#include "procedures/kernels/prefix_sum.hpp"

#include <cstddef>
#include <tuple>

// clang-format off
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "procedures/kernels/prefix_sum.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
#include "procedures/kernels/lane_scan_inl.hpp"
// clang-format on

#ifndef MORVEX_KERNELS_PREFIX_SUM_ONCE
#define MORVEX_KERNELS_PREFIX_SUM_ONCE
namespace Kelbor::MathModule::Kernels {

template <class U>
using PrefixSumFunction = U (*)(const U* in, U* out, std::size_t count, U carry);

using PrefixSumTable =
    std::tuple<PrefixSumFunction<std::uint8_t>, PrefixSumFunction<std::uint16_t>,
               PrefixSumFunction<std::uint32_t>, PrefixSumFunction<std::uint64_t>>;

}  // namespace Kelbor::MathModule::Kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE {

template <class U>
U scan(const U* in, U* out, std::size_t count, U carry) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  constexpr std::size_t kVectors = 4;
  constexpr std::size_t kStep = kVectors * hn::MaxLanes(LaneTag<U>());
  const LaneTag<U> d;
  using V = hn::VFromD<LaneTag<U>>;
  V running = hn::Set(d, carry);
  for (; count - i >= kStep; i += kStep) {
    V v[kVectors];
    loadGroup(d, in + i, v);
    scanGroup(d, v, running);
    storeGroup(d, v, out + i);
  }
  carry = hn::GetLane(running);
#endif
  for (; i < count; ++i) {
    carry = static_cast<U>(carry + in[i]);
    out[i] = carry;
  }
  return carry;
}

const PrefixSumTable& prefixSumTable() {
  static constexpr PrefixSumTable kTable{&scan<std::uint8_t>, &scan<std::uint16_t>,
                                         &scan<std::uint32_t>, &scan<std::uint64_t>};
  return kTable;
}

}  // namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Kelbor::MathModule::Kernels {
namespace {

HWY_EXPORT(prefixSumTable);

}  // namespace

template <class U>
U prefixSum(std::span<const U> in, std::span<U> out, U carry) noexcept {
  const auto run = std::get<PrefixSumFunction<U>>(HWY_DYNAMIC_DISPATCH(prefixSumTable)());
  return run(in.data(), out.data(), out.size(), carry);
}

template std::uint8_t prefixSum(std::span<const std::uint8_t>, std::span<std::uint8_t>,
                                std::uint8_t) noexcept;
template std::uint16_t prefixSum(std::span<const std::uint16_t>, std::span<std::uint16_t>,
                                 std::uint16_t) noexcept;
template std::uint32_t prefixSum(std::span<const std::uint32_t>, std::span<std::uint32_t>,
                                 std::uint32_t) noexcept;
template std::uint64_t prefixSum(std::span<const std::uint64_t>, std::span<std::uint64_t>,
                                 std::uint64_t) noexcept;

}  // namespace Kelbor::MathModule::Kernels
#endif  // HWY_ONCE

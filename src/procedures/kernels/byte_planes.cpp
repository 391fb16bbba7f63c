#include "procedures/kernels/byte_planes.hpp"

#include <tuple>

#include "procedures/kernels/zigzag.hpp"

// clang-format off
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "procedures/kernels/byte_planes.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
#include "procedures/kernels/lane_scan_inl.hpp"
// clang-format on

#ifndef MORVEX_KERNELS_BYTE_PLANES_ONCE
#define MORVEX_KERNELS_BYTE_PLANES_ONCE
namespace Kelbor::MathModule::Kernels {

/// What is done to a value after its bytes are composed.
enum class PlaneStage { kPlain, kZigzag, kZigzagSum };

template <class U>
using PlaneFunction = U (*)(const std::uint8_t* planes, U* values, std::size_t count, U carry);

template <class U>
struct PlaneFunctions {
  PlaneFunction<U> plain;
  PlaneFunction<U> zigzag;
  PlaneFunction<U> zigzagSum;
};

using PlaneTable = std::tuple<PlaneFunctions<std::uint16_t>, PlaneFunctions<std::uint32_t>,
                              PlaneFunctions<std::uint64_t>>;

}  // namespace Kelbor::MathModule::Kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

/// Interleaves W planes, `stride` bytes apart, into W vectors of W-byte values in block-wise order.
template <std::size_t W, class D8, class V8>
HWY_INLINE void interleavePlanes(D8 d8, const std::uint8_t* planes, std::size_t stride,
                                 V8 (&out)[W]) {
  if constexpr (W == 1) {
    out[0] = hn::LoadU(d8, planes);
  } else {
    constexpr std::size_t kHalf = W / 2;
    V8 low[kHalf];
    V8 high[kHalf];
    interleavePlanes<kHalf>(d8, planes, stride, low);
    interleavePlanes<kHalf>(d8, planes + kHalf * stride, stride, high);
    const hn::Repartition<hwy::UnsignedFromSize<kHalf>, D8> d;
    for (std::size_t j = 0; j < kHalf; ++j) {
      const auto a = hn::BitCast(d, low[j]);
      const auto b = hn::BitCast(d, high[j]);
      out[2 * j] = hn::BitCast(d8, hn::InterleaveLower(d, a, b));
      out[2 * j + 1] = hn::BitCast(d8, hn::InterleaveUpper(d, a, b));
    }
  }
}

/// Processes all whole vectors and returns the number of their values.
template <class U, PlaneStage stage>
HWY_INLINE std::size_t composeVectors(const std::uint8_t* planes, U* values, std::size_t count,
                                      U& carry) {
  constexpr std::size_t kWidth = sizeof(U);
  const LaneTag<U> d;
  const hn::Repartition<std::uint8_t, LaneTag<U>> d8;
  using V = hn::VFromD<LaneTag<U>>;
  constexpr std::size_t kStep = hn::MaxLanes(hn::Repartition<std::uint8_t, LaneTag<U>>());
  const V one = hn::Set(d, U{1});
  V running = hn::Set(d, carry);
  std::size_t i = 0;
  for (; count - i >= kStep; i += kStep) {
    hn::VFromD<decltype(d8)> bytes[kWidth];
    interleavePlanes<kWidth>(d8, planes + i, count, bytes);
    V v[kWidth];
    for (std::size_t j = 0; j < kWidth; ++j) {
      v[j] = hn::BitCast(d, bytes[j]);
      if constexpr (stage != PlaneStage::kPlain) {
        v[j] = hn::Xor(hn::ShiftRight<1>(v[j]), hn::Sub(hn::Zero(d), hn::And(v[j], one)));
      }
    }
    if constexpr (stage == PlaneStage::kZigzagSum) scanGroup(d, v, running);
    storeGroup(d, v, values + i);
  }
  if constexpr (stage == PlaneStage::kZigzagSum) carry = hn::GetLane(running);
  return i;
}

#endif  // HWY_TARGET != HWY_SCALAR

template <class U, PlaneStage stage>
U compose(const std::uint8_t* planes, U* values, std::size_t count, U carry) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  i = composeVectors<U, stage>(planes, values, count, carry);
#endif
  for (; i < count; ++i) {
    U value = 0;
    for (std::size_t p = 0; p < sizeof(U); ++p) {
      value = static_cast<U>(value | static_cast<U>(U{planes[p * count + i]} << (8 * p)));
    }
    if constexpr (stage != PlaneStage::kPlain) value = undoZigzag(value);
    if constexpr (stage == PlaneStage::kZigzagSum) {
      value = static_cast<U>(value + carry);
      carry = value;
    }
    values[i] = value;
  }
  return carry;
}

template <class U>
constexpr PlaneFunctions<U> kFunctions = {&compose<U, PlaneStage::kPlain>,
                                          &compose<U, PlaneStage::kZigzag>,
                                          &compose<U, PlaneStage::kZigzagSum>};

const PlaneTable& planeTable() {
  static constexpr PlaneTable kTable{kFunctions<std::uint16_t>, kFunctions<std::uint32_t>,
                                     kFunctions<std::uint64_t>};
  return kTable;
}

}  // namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Kelbor::MathModule::Kernels {
namespace {

HWY_EXPORT(planeTable);

template <class U>
const PlaneFunctions<U>& functions() noexcept {
  return std::get<PlaneFunctions<U>>(HWY_DYNAMIC_DISPATCH(planeTable)());
}

const std::uint8_t* bytesOf(std::span<const std::byte> planes) noexcept {
  return reinterpret_cast<const std::uint8_t*>(planes.data());
}

}  // namespace

template <class U>
void composePlanes(std::span<const std::byte> planes, std::span<U> values) noexcept {
  functions<U>().plain(bytesOf(planes), values.data(), values.size(), U{0});
}

template <class U>
void composePlanesZigzag(std::span<const std::byte> planes, std::span<U> values) noexcept {
  functions<U>().zigzag(bytesOf(planes), values.data(), values.size(), U{0});
}

template <class U>
U composePlanesZigzagSum(std::span<const std::byte> planes, std::span<U> values, U carry) noexcept {
  return functions<U>().zigzagSum(bytesOf(planes), values.data(), values.size(), carry);
}

template void composePlanes(std::span<const std::byte>, std::span<std::uint16_t>) noexcept;
template void composePlanes(std::span<const std::byte>, std::span<std::uint32_t>) noexcept;
template void composePlanes(std::span<const std::byte>, std::span<std::uint64_t>) noexcept;
template void composePlanesZigzag(std::span<const std::byte>, std::span<std::uint16_t>) noexcept;
template void composePlanesZigzag(std::span<const std::byte>, std::span<std::uint32_t>) noexcept;
template void composePlanesZigzag(std::span<const std::byte>, std::span<std::uint64_t>) noexcept;
template std::uint16_t composePlanesZigzagSum(std::span<const std::byte>, std::span<std::uint16_t>,
                                              std::uint16_t) noexcept;
template std::uint32_t composePlanesZigzagSum(std::span<const std::byte>, std::span<std::uint32_t>,
                                              std::uint32_t) noexcept;
template std::uint64_t composePlanesZigzagSum(std::span<const std::byte>, std::span<std::uint64_t>,
                                              std::uint64_t) noexcept;

}  // namespace Kelbor::MathModule::Kernels
#endif  // HWY_ONCE

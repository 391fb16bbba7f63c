#include "procedures/kernels/dequantize.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>

// clang-format off
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "procedures/kernels/dequantize.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#ifndef MORVEX_KERNELS_DEQUANTIZE_ONCE
#define MORVEX_KERNELS_DEQUANTIZE_ONCE
namespace Kelbor::MathModule::Kernels {

// Input and output may share memory although their types differ, so single values are copied as
// bytes: the compiler may reorder typed accesses as if they never aliased.

template <class In>
inline double loadAsDouble(const In* in) noexcept {
  In value;
  std::memcpy(&value, in, sizeof value);
  return static_cast<double>(value);
}

template <class Out>
inline void storeRounded(double result, Out* out) noexcept {
  const Out value = static_cast<Out>(result);
  std::memcpy(out, &value, sizeof value);
}

}  // namespace Kelbor::MathModule::Kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// Exact, like the scalar conversion: 32-bit integers fit a double, and 64-bit integers are rounded
// to nearest by the only inexact operation.
template <class D, class In>
HWY_INLINE hn::VFromD<D> loadLanesAsDouble(D d, const In* in) {
  const auto values = hn::LoadU(hn::Rebind<In, D>(), in);
  if constexpr (sizeof(In) == sizeof(double)) {
    return hn::ConvertTo(d, values);
  } else {
    return hn::PromoteTo(d, values);
  }
}

template <class D, class Out>
HWY_INLINE void storeLanesRounded(D d, hn::VFromD<D> results, Out* out) {
  if constexpr (sizeof(Out) == sizeof(double)) {
    hn::StoreU(results, d, out);
  } else {
    const hn::Rebind<Out, D> dOut;
    hn::StoreU(hn::DemoteTo(dOut, results), dOut, out);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

template <class In, class Out>
HWY_INLINE void multiply(const In* in, Out* out, std::size_t count, double quantum) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  const auto factor = hn::Set(d, quantum);
  for (; count - i >= 2 * lanes; i += 2 * lanes) {
    const auto first = loadLanesAsDouble(d, in + i);
    const auto second = loadLanesAsDouble(d, in + i + lanes);
    storeLanesRounded(d, hn::Mul(first, factor), out + i);
    storeLanesRounded(d, hn::Mul(second, factor), out + i + lanes);
  }
#endif
  for (; i < count; ++i) storeRounded(loadAsDouble(in + i) * quantum, out + i);
}

void multiplyInt32(const std::int32_t* in, float* out, std::size_t count, double quantum) {
  multiply(in, out, count, quantum);
}

void multiplyInt64(const std::int64_t* in, double* out, std::size_t count, double quantum) {
  multiply(in, out, count, quantum);
}

void multiplyInt64ToFloat(const std::int64_t* in, float* out, std::size_t count, double quantum) {
  multiply(in, out, count, quantum);
}

}  // namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Kelbor::MathModule::Kernels {
namespace {

HWY_EXPORT(multiplyInt32);
HWY_EXPORT(multiplyInt64);
HWY_EXPORT(multiplyInt64ToFloat);

constexpr int kDoubleBias = 1023;
constexpr int kMantissaBits = 52;

/// 2 to the power -exponent. Normal powers are composed from their bits. The others go through
/// ldexp, with the exponent clamped beyond the range of double on both sides.
double inversePowerOfTwo(std::int32_t exponent) noexcept {
  const std::int64_t power = -std::int64_t{exponent};
  if (power > -kDoubleBias && power <= kDoubleBias) {
    return std::bit_cast<double>(static_cast<std::uint64_t>(power + kDoubleBias) << kMantissaBits);
  }
  constexpr std::int64_t kClamp = 1100;
  return std::ldexp(1.0, static_cast<int>(std::clamp(power, -kClamp, kClamp)));
}

}  // namespace

template <class In, class Out>
void dequantizeUniform(std::span<const In> in, std::span<Out> out, double quantum) noexcept {
  if constexpr (sizeof(In) == sizeof(std::int32_t)) {
    HWY_DYNAMIC_DISPATCH(multiplyInt32)(in.data(), out.data(), out.size(), quantum);
  } else if constexpr (sizeof(Out) == sizeof(double)) {
    HWY_DYNAMIC_DISPATCH(multiplyInt64)(in.data(), out.data(), out.size(), quantum);
  } else {
    HWY_DYNAMIC_DISPATCH(multiplyInt64ToFloat)(in.data(), out.data(), out.size(), quantum);
  }
}

template <class In, class Out>
void dequantizeShifts(std::span<const In> in, std::span<const std::int32_t> exponents, double scale,
                      std::span<Out> out) noexcept {
  std::array<double, 32> steps;
  for (unsigned shift = 0; shift < steps.size(); ++shift) {
    steps[shift] = scale / static_cast<double>(static_cast<std::int32_t>(1u << shift));
  }
  for (std::size_t i = 0; i < out.size(); ++i) {
    const double step = steps[static_cast<std::uint32_t>(exponents[i]) & 31u];
    storeRounded(step * loadAsDouble(&in[i]), &out[i]);
  }
}

template <class In, class Out>
void dequantizeExponents(std::span<const In> in, std::span<const std::int32_t> exponents,
                         double scale, std::span<Out> out) noexcept {
  for (std::size_t i = 0; i < out.size(); ++i) {
    const double power = inversePowerOfTwo(exponents[i]);
    storeRounded((loadAsDouble(&in[i]) * scale) * power, &out[i]);
  }
}

double scaleOfAdaptiveTable(std::span<const std::int32_t> table) noexcept {
  double scale;
  std::memcpy(&scale, table.last(2).data(), sizeof scale);
  return scale;
}

bool outliersInRange(std::span<const std::uint64_t> positions, std::uint64_t count) noexcept {
  bool inside = true;
  for (const std::uint64_t position : positions) inside &= position < count;
  return inside;
}

template <class V, class Out>
void scatterOutliers(std::span<const std::uint64_t> positions, std::span<const V> values,
                     std::span<Out> output) noexcept {
  for (std::size_t k = 0; k < positions.size(); ++k) {
    output[static_cast<std::size_t>(positions[k])] = static_cast<Out>(values[k]);
  }
}

using Exponents = std::span<const std::int32_t>;
using Positions = std::span<const std::uint64_t>;

template void dequantizeUniform(std::span<const std::int32_t>, std::span<float>, double) noexcept;
template void dequantizeUniform(std::span<const std::int64_t>, std::span<double>, double) noexcept;
template void dequantizeUniform(std::span<const std::int64_t>, std::span<float>, double) noexcept;
template void dequantizeShifts(std::span<const std::int32_t>, Exponents, double,
                               std::span<float>) noexcept;
template void dequantizeShifts(std::span<const std::int64_t>, Exponents, double,
                               std::span<double>) noexcept;
template void dequantizeShifts(std::span<const std::int64_t>, Exponents, double,
                               std::span<float>) noexcept;
template void dequantizeExponents(std::span<const std::int32_t>, Exponents, double,
                                  std::span<float>) noexcept;
template void dequantizeExponents(std::span<const std::int64_t>, Exponents, double,
                                  std::span<double>) noexcept;
template void dequantizeExponents(std::span<const std::int64_t>, Exponents, double,
                                  std::span<float>) noexcept;
template void scatterOutliers(Positions, std::span<const float>, std::span<float>) noexcept;
template void scatterOutliers(Positions, std::span<const double>, std::span<double>) noexcept;
template void scatterOutliers(Positions, std::span<const double>, std::span<float>) noexcept;

}  // namespace Kelbor::MathModule::Kernels
#endif  // HWY_ONCE

#pragma once

#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// Integers become floating-point values in double arithmetic, in the stated order of operations,
// and are rounded once if the output is float. The three element-wise kernels exist for
// std::int32_t -> float, std::int64_t -> double and std::int64_t -> float. Both spans have the same
// size; they are disjoint or, if the element widths agree, begin at the same address.

/// out[i] = in[i] * quantum.
template <class In, class Out>
void dequantizeUniform(std::span<const In> in, std::span<Out> out, double quantum) noexcept;

/// out[i] = (scale / s) * in[i] with s = the signed 32-bit number 1 << (exponents[i] & 31), so that
/// exponent 31 gives a negative step. At least one exponent per value.
template <class In, class Out>
void dequantizeShifts(std::span<const In> in, std::span<const std::int32_t> exponents, double scale,
                      std::span<Out> out) noexcept;

/// out[i] = (in[i] * scale) * 2 to the power -exponents[i]; the power is exact, infinite above the
/// range of double and 0 below it. At least one exponent per value.
template <class In, class Out>
void dequantizeExponents(std::span<const In> in, std::span<const std::int32_t> exponents,
                         double scale, std::span<Out> out) noexcept;

/// The scale in the bytes of an adaptive table's last two words; the table has at least two.
[[nodiscard]] double scaleOfAdaptiveTable(std::span<const std::int32_t> table) noexcept;

/// True if every position is below `count`.
[[nodiscard]] bool outliersInRange(std::span<const std::uint64_t> positions,
                                   std::uint64_t count) noexcept;

/// output[positions[k]] = values[k], in order, so the last of equal positions wins. Every position
/// is inside `output`, and there are at least as many values as positions. For float, double, and
/// double values narrowed to float.
template <class V, class Out>
void scatterOutliers(std::span<const std::uint64_t> positions, std::span<const V> values,
                     std::span<Out> output) noexcept;

}  // namespace Kelbor::MathModule::Kernels

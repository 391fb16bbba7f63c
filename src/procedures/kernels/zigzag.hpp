#pragma once

#include <concepts>
#include <span>

namespace Kelbor::MathModule::Kernels {

/// Undoes the mapping that keeps small differences small and unsigned: 0, 1, 2, 3, 4 stand for
/// 0, -1, 1, -2, 2, here as two's complement bits of the same width.
template <std::unsigned_integral U>
[[nodiscard]] constexpr U undoZigzag(U value) noexcept {
  const U odd = static_cast<U>(value & 1u);
  return static_cast<U>(static_cast<U>(value >> 1) ^ static_cast<U>(U{0} - odd));
}

template <std::unsigned_integral U>
constexpr void undoZigzag(std::span<U> values) noexcept {
  for (U& value : values) value = undoZigzag(value);
}

}  // namespace Kelbor::MathModule::Kernels

#pragma once

#include <concepts>
#include <span>

namespace Kelbor::MathModule::Kernels {

/// Undoes the mapping of small signed differences to small unsigned numbers: 0, 1, 2, 3, 4 decode
/// to 0, -1, 1, -2, 2, as two's complement bits of the same width.
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

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// Values are stored as byte planes: of n values of W bytes, byte p (0 the least significant) of
// value i stands at offset p * n + i. All functions below exist for std::uint16_t, std::uint32_t
// and std::uint64_t, need planes.size() == values.size() * sizeof(U), and must not be given
// overlapping memory.

/// Puts the values together.
template <class U>
void composePlanes(std::span<const std::byte> planes, std::span<U> values) noexcept;

/// Puts the values together and undoes the zigzag mapping of each.
template <class U>
void composePlanesZigzag(std::span<const std::byte> planes, std::span<U> values) noexcept;

/// Puts the values together, undoes the zigzag mapping and sums up, in one pass over memory:
/// values[i] = carry + d[0] + ... + d[i], wrapping in U. Returns the last sum (the carry if there
/// are no values), which is the next piece's carry.
template <class U>
[[nodiscard]] U composePlanesZigzagSum(std::span<const std::byte> planes, std::span<U> values,
                                       U carry) noexcept;

}  // namespace Kelbor::MathModule::Kernels

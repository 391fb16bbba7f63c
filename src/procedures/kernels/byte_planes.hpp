#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// Byte planes: of n values of W bytes, byte p (0 the least significant) of value i is at offset p *
// n + i. All functions exist for std::uint16_t, std::uint32_t and std::uint64_t, need planes.size()
// == values.size() * sizeof(U), and require disjoint memory.

/// Composes the values.
template <class U>
void composePlanes(std::span<const std::byte> planes, std::span<U> values) noexcept;

/// Composes the values and undoes their zigzag mapping.
template <class U>
void composePlanesZigzag(std::span<const std::byte> planes, std::span<U> values) noexcept;

/// Composes the values, undoes their zigzag mapping and sums them, in one pass over memory:
/// values[i] = carry + d[0] + ... + d[i], wrapping in U. Returns the last sum (the carry if there
/// are no values), which is the carry of the next piece.
template <class U>
[[nodiscard]] U composePlanesZigzagSum(std::span<const std::byte> planes, std::span<U> values,
                                       U carry) noexcept;

}  // namespace Kelbor::MathModule::Kernels

#pragma once

#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// Sums wrap in the width of their element type. All value spans of a call have the same size; any
// two are the same memory or disjoint.

/// Sums block by block: with blocks of s = size / numberOfBlocks values, out[i] = in[i] in the
/// first block and in[i] + out[i - s] in the others. `numberOfBlocks` divides the size and is not
/// 0. For unsigned types of 8, 16, 32 and 64 bits.
template <class U>
void offsetSums(std::span<const U> in, std::span<U> out, std::uint64_t numberOfBlocks) noexcept;

/// out[i] = in[i] + reference[i]. For signed and unsigned types of 8, 32 and 64 bits.
template <class T>
void vectorSums(std::span<const T> in, std::span<const T> reference, std::span<T> out) noexcept;

/// out[i] = in[i] + mean of first[i] and second[i], rounded down. 8-bit means don't wrap. Means of
/// wider types halve the wrapped sum, as a signed number. Same types as above.
template <class T>
void vectorSums(std::span<const T> in, std::span<const T> first, std::span<const T> second,
                std::span<T> out) noexcept;

/// True if treeSums() stays in bounds: every node of an edge is below `numberOfNodes`, every tree
/// starts at an edge of the list, and edge numbers fit 32 bits. True if there are no trees.
[[nodiscard]] bool checkTree(std::span<const std::int32_t> edges,
                             std::span<const std::uint64_t> treeStarts,
                             std::uint64_t numberOfNodes) noexcept;

/// Sums along the edges of trees. `edges` holds pairs of node numbers, parent first, ordered so
/// that each parent precedes its children; `treeStarts` holds the first edge of each tree. Nodes
/// that no tree reaches keep their input. Requires checkTree(). For unsigned types of 8, 32 and 64
/// bits.
template <class U>
void treeSums(std::span<const U> in, std::span<const std::int32_t> edges,
              std::span<const std::uint64_t> treeStarts, std::span<U> out) noexcept;

}  // namespace Kelbor::MathModule::Kernels

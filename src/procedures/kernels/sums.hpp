#pragma once

#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// Sums wrap in the width of their element type. All spans of values of one call have the same size
// and are, pair by pair, the same memory or disjoint.

/// Sums up block by block: with blocks of s = size / numberOfBlocks values, out[i] = in[i] for the
/// first block and in[i] + out[i - s] behind it. `numberOfBlocks` divides the size and is not 0.
/// For unsigned types of 8, 16, 32 and 64 bits.
template <class U>
void offsetSums(std::span<const U> in, std::span<U> out, std::uint64_t numberOfBlocks) noexcept;

/// out[i] = in[i] + reference[i]. For signed and unsigned types of 8, 32 and 64 bits.
template <class T>
void vectorSums(std::span<const T> in, std::span<const T> reference, std::span<T> out) noexcept;

/// out[i] = in[i] + mean of first[i] and second[i], rounded down. 8-bit means don't wrap; those of
/// wider types halve the wrapped sum, with the sign of that sum. Same types as above.
template <class T>
void vectorSums(std::span<const T> in, std::span<const T> first, std::span<const T> second,
                std::span<T> out) noexcept;

/// True if treeSums stays inside: every node of an edge is one of `numberOfNodes`, every tree
/// starts at an edge of the list, and edge numbers fit 32 bits. True where there are no trees.
[[nodiscard]] bool checkTree(std::span<const std::int32_t> edges,
                             std::span<const std::uint64_t> treeStarts,
                             std::uint64_t numberOfNodes) noexcept;

/// Sums up along the edges of trees. `edges` holds pairs of node numbers, parent first, in an order
/// that has each parent before its children; `treeStarts` the first edge of each tree. Nodes that
/// no tree reaches keep their input. checkTree has been true for the arguments.
/// For unsigned types of 8, 32 and 64 bits.
template <class U>
void treeSums(std::span<const U> in, std::span<const std::int32_t> edges,
              std::span<const std::uint64_t> treeStarts, std::span<U> out) noexcept;

}  // namespace Kelbor::MathModule::Kernels

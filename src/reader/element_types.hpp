#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>

#include "core/checked.hpp"

namespace morvex {

/// Some of the host's element types. The last two vary in size; each is followed by its ghost twin.
inline constexpr int kTriangle = 6;
inline constexpr int kQuadrilateral = 10;
inline constexpr int kNSided = 30;
inline constexpr int kNFaced = 32;

/// Nodes per element by type; -1 if they vary.
inline constexpr std::array<std::int32_t, 34> kNodesPerElement{
    1,  1, 2, 2,  3,  3, 3, 3,  6,  6, 4, 4,  8,  8,  4,  4,  10,
    10, 5, 5, 13, 13, 6, 6, 15, 15, 8, 8, 20, 20, -1, -1, -1, -1};

/// Entries in the connectivity of `elementCount` elements. std::out_of_range for an unknown type
/// and for one whose size varies.
[[nodiscard]] inline std::uint64_t connectivitySize(int elementType, std::uint64_t elementCount) {
  const std::int32_t nodes = Kelbor::checkedAt(kNodesPerElement, elementType);
  if (nodes < 0) Kelbor::raiseUnlogged<std::out_of_range>(Kelbor::kInvalidVectorSubscript);
  return Kelbor::checkedProduct(elementCount, static_cast<std::uint64_t>(nodes));
}

}  // namespace morvex

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace morvex::Writer {

inline constexpr int kNSidedType = 30;
inline constexpr int kNFacedType = 32;

/// Nodes of an element of a type from 0 to 29.
inline constexpr std::array<std::uint32_t, 30> kNodesPerElement{
    1, 1,  2,  2, 3, 3,  3,  3, 6, 6,  4,  4, 8, 8,  4,
    4, 10, 10, 5, 5, 13, 13, 6, 6, 15, 15, 8, 8, 20, 20};

/// Number of elements in a connectivity of `entries` node numbers. std::logic_error for an
/// incomplete element.
inline std::uint32_t elementsIn(int type, std::size_t entries) {
  const std::uint32_t nodes = kNodesPerElement.at(static_cast<std::size_t>(type));
  if (entries % nodes != 0) throw std::logic_error("Connectivity ends within an element");
  return static_cast<std::uint32_t>(entries / nodes);
}

}  // namespace morvex::Writer

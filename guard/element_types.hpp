#pragma once

#include <array>
#include <cstdint>

#include "facts.hpp"
#include "failures.hpp"

namespace morvex::guard {

inline constexpr std::int32_t kNSided = 30;
inline constexpr std::int32_t kNFaced = 32;

/// Nodes of an element of a type from 0 to 29; a type and its ghost twin have the same.
[[nodiscard]] inline std::uint64_t nodesPerElement(std::int32_t type) {
  static constexpr std::array<std::uint64_t, kNSided / 2> kNodes{1,  2, 3,  3, 6,  4, 8, 4,
                                                                 10, 5, 13, 6, 15, 8, 20};
  requireIndex(type, MXG_ELEMENT_TYPES, "element type");
  if (type >= kNSided) refuse(MXG_WRONG_KIND, "n-sided and n-faced elements vary in size");
  return kNodes[static_cast<std::size_t>(type) / 2];
}

}  // namespace morvex::guard

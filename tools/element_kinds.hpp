#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "morvex/morvex_ensg.h"

namespace morvex::tools {

using ElementCounts = std::array<std::int32_t, MX_ELEMENT_TYPES>;

inline constexpr int kNSided = 30;
inline constexpr int kNFaced = 32;

/// A shape of elements; the types 2k and 2k + 1, which is the ghost twin, have shape k.
struct ElementShape {
  const char* name;
  int nodes;  ///< 0 where they vary
};

inline constexpr std::array<ElementShape, MX_ELEMENT_TYPES / 2> kElementShapes{
    {{"point", 1},
     {"bar2", 2},
     {"bar3", 3},
     {"triangle3", 3},
     {"triangle6", 6},
     {"quadrilateral4", 4},
     {"quadrilateral8", 8},
     {"tetrahedron4", 4},
     {"tetrahedron10", 10},
     {"pyramid5", 5},
     {"pyramid13", 13},
     {"pentahedron6", 6},
     {"pentahedron15", 15},
     {"hexahedron8", 8},
     {"hexahedron20", 20},
     {"n-sided", 0},
     {"n-faced", 0}}};

/// For a type from 0 to 33, for example "hexahedron8" or "ghost hexahedron8".
[[nodiscard]] inline std::string elementName(int type) {
  const std::string name = kElementShapes.at(static_cast<std::size_t>(type / 2)).name;
  return type % 2 == 0 ? name : "ghost " + name;
}

/// Nodes of an element of the type; 0 where they vary.
[[nodiscard]] inline int nodesPerElement(int type) {
  return kElementShapes.at(static_cast<std::size_t>(type / 2)).nodes;
}

}  // namespace morvex::tools

#pragma once

#include <morvex/morvex.h>

#include <array>
#include <cstddef>
#include <string>

namespace morvex::tools {

inline constexpr int kNSided = 30;  ///< polygons; types below have a fixed number of nodes
inline constexpr int kNFaced = 32;  ///< polyhedra

/// Whether files have the nodes of a type: of the ghosts of polygons and polyhedra they have the
/// number alone.
[[nodiscard]] constexpr bool hasNodes(int type) {
  return type != kNSided + 1 && type != kNFaced + 1;
}

/// Shapes of elements; the types 2k and 2k + 1, which is the ghost twin, have shape k.
inline constexpr std::array<const char*, MORVEX_ELEMENT_TYPES / 2> kElementShapes{
    "point",          "bar2",         "bar3",          "triangle3", "triangle6", "quadrilateral4",
    "quadrilateral8", "tetrahedron4", "tetrahedron10", "pyramid5",  "pyramid13", "pentahedron6",
    "pentahedron15",  "hexahedron8",  "hexahedron20",  "n-sided",   "n-faced"};

/// For a type from 0 to 33, for example "hexahedron8" or "ghost hexahedron8".
[[nodiscard]] inline std::string elementName(int type) {
  const std::string name = kElementShapes.at(static_cast<std::size_t>(type / 2));
  return type % 2 == 0 ? name : "ghost " + name;
}

}  // namespace morvex::tools

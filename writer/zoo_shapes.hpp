#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace morvex::Writer {

using Point = std::array<double, 3>;

/// Nodes of one element of an even type from 0 to 28 in a cube of side 1, in stored order: first the
/// corners, then a node in the middle of each edge. The middle of a bar lies between its ends.
[[nodiscard]] std::vector<Point> elementPoints(int type);

/// One polyhedron in a cube of side 1: its nodes, and its faces as nodes from 0.
struct PolyhedronShape {
  std::vector<Point> points;
  std::vector<std::vector<std::int32_t>> faces;
};
/// A prism over a regular polygon of `sides` sides. Normals of the faces point outwards.
[[nodiscard]] PolyhedronShape prism(int sides);

/// Nodes of a regular polygon in the plane z = 0, counterclockwise.
[[nodiscard]] std::vector<Point> polygonPoints(int sides);

}  // namespace morvex::Writer

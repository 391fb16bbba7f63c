#include "writer/zoo_shapes.hpp"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace morvex::Writer {
namespace {

using Edge = std::array<std::size_t, 2>;

struct Shape {
  std::vector<Point> corners;
  std::vector<Edge> edges;  ///< In the order of their middle nodes.
};

const std::vector<Point> kQuad{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
const std::vector<Edge> kQuadEdges{{0, 1}, {1, 2}, {2, 3}, {3, 0}};
const std::vector<Edge> kTriangleEdges{{0, 1}, {1, 2}, {2, 0}};

template <class T>
std::vector<T> joined(std::vector<T> first, const std::vector<T>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// The same points one unit higher: the top of a prism.
std::vector<Point> lifted(std::vector<Point> points) {
  for (Point& point : points) point[2] += 1.0;
  return points;
}

/// Shape of the types 4k + 2 and 4k + 4 from bars on: the linear element and its quadratic twin.
Shape shapeOf(int family) {
  const std::vector<Point> triangle{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  switch (family) {
    case 0:  // bar
      return {{{0, 0, 0}, {1, 0, 0}}, {{0, 1}}};
    case 1:
      return {triangle, kTriangleEdges};
    case 2:
      return {kQuad, kQuadEdges};
    case 3:  // tetrahedron
      return {joined(triangle, {{0, 0, 1}}), joined(kTriangleEdges, {{0, 3}, {1, 3}, {2, 3}})};
    case 4:  // pyramid
      return {joined(kQuad, {{0.5, 0.5, 1}}), joined(kQuadEdges, {{0, 4}, {1, 4}, {2, 4}, {3, 4}})};
    case 5:  // pentahedron, whose first triangle faces the second one
      return {joined(triangle, lifted(triangle)),
              joined(kTriangleEdges, {{3, 4}, {4, 5}, {5, 3}, {0, 3}, {1, 4}, {2, 5}})};
    case 6:  // hexahedron
      return {joined(kQuad, lifted(kQuad)),
              joined(kQuadEdges, {{4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}})};
    default:
      throw std::logic_error("No such element type");
  }
}

}  // namespace

std::vector<Point> elementPoints(int type) {
  if (type == 0) return {{0, 0, 0}};
  const Shape shape = shapeOf((type - 2) / 4);
  std::vector<Point> points = shape.corners;
  if (type % 4 == 2) return points;  // the linear one of the two
  for (const Edge& edge : shape.edges) {
    Point middle{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      middle[axis] = (shape.corners[edge[0]][axis] + shape.corners[edge[1]][axis]) / 2.0;
    }
    points.push_back(middle);
  }
  // Bars of three nodes are stored in the order of their places.
  if (type == 4) std::swap(points[1], points[2]);
  return points;
}

std::vector<Point> polygonPoints(int sides) {
  std::vector<Point> points;
  for (int i = 0; i < sides; ++i) {
    const double angle = 2.0 * std::numbers::pi * i / sides;
    points.push_back({0.5 + 0.5 * std::cos(angle), 0.5 + 0.5 * std::sin(angle), 0.0});
  }
  return points;
}

PolyhedronShape prism(int sides) {
  PolyhedronShape shape;
  const std::vector<Point> base = polygonPoints(sides);
  shape.points = joined(base, lifted(base));
  std::vector<std::int32_t> bottom;
  std::vector<std::int32_t> top;
  for (int i = 0; i < sides; ++i) {
    const int next = (i + 1) % sides;
    // The bottom is seen from below: its nodes run the other way round.
    bottom.push_back(sides - 1 - i);
    top.push_back(sides + i);
    shape.faces.push_back({i, next, sides + next, sides + i});
  }
  shape.faces.push_back(bottom);
  shape.faces.push_back(top);
  return shape;
}

}  // namespace morvex::Writer

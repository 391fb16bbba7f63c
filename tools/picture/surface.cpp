#include "picture/surface.hpp"

#include <algorithm>
#include <stdexcept>

#include "common/element_kinds.hpp"

namespace morvex::picture {
namespace {

/// A face of a solid of fixed shape, by the places of its corners in the element.
struct Corners {
  std::uint8_t count;
  std::array<std::uint8_t, 4> at;
};

constexpr std::array<Corners, 4> kTetrahedron{
    {{3, {0, 2, 1}}, {3, {0, 1, 3}}, {3, {1, 2, 3}}, {3, {2, 0, 3}}}};
constexpr std::array<Corners, 5> kPyramid{
    {{4, {0, 3, 2, 1}}, {3, {0, 1, 4}}, {3, {1, 2, 4}}, {3, {2, 3, 4}}, {3, {3, 0, 4}}}};
constexpr std::array<Corners, 5> kPentahedron{
    {{3, {0, 2, 1}}, {3, {3, 4, 5}}, {4, {0, 1, 4, 3}}, {4, {1, 2, 5, 4}}, {4, {2, 0, 3, 5}}}};
constexpr std::array<Corners, 6> kHexahedron{{{4, {0, 3, 2, 1}},
                                              {4, {4, 5, 6, 7}},
                                              {4, {0, 1, 5, 4}},
                                              {4, {1, 2, 6, 5}},
                                              {4, {2, 3, 7, 6}},
                                              {4, {3, 0, 4, 7}}}};

/// What is drawn of the types 2k and 2k + 1.
struct Shape {
  enum class Kind { kPoint, kBar, kFlat, kSolid, kPolyhedron };
  Kind kind;
  std::uint8_t corners;  ///< of a flat element; 0 for all its nodes
  std::span<const Corners> faces;
};
using enum Shape::Kind;
constexpr std::array<Shape, 17> kShapes{{{kPoint, 0, {}},
                                         {kBar, 0, {}},
                                         {kBar, 0, {}},
                                         {kFlat, 3, {}},
                                         {kFlat, 3, {}},
                                         {kFlat, 4, {}},
                                         {kFlat, 4, {}},
                                         {kSolid, 0, kTetrahedron},
                                         {kSolid, 0, kTetrahedron},
                                         {kSolid, 0, kPyramid},
                                         {kSolid, 0, kPyramid},
                                         {kSolid, 0, kPentahedron},
                                         {kSolid, 0, kPentahedron},
                                         {kSolid, 0, kHexahedron},
                                         {kSolid, 0, kHexahedron},
                                         {kFlat, 0, {}},
                                         {kPolyhedron, 0, {}}}};
static_assert(kShapes.size() == tools::kElementShapes.size());

/// Mixes all bits of a number, so that sums of mixed numbers rarely agree by chance.
std::uint64_t mixedBits(std::uint64_t number) {
  number = (number + 0x9e3779b97f4a7c15U) * 0xbf58476d1ce4e5b9U;
  number = (number ^ (number >> 27U)) * 0x94d049bb133111ebU;
  return number ^ (number >> 31U);
}

class Extraction {
 public:
  explicit Extraction(const CellTables& cells) : cells_(cells) {}

  Surface run() {
    collectSolids();
    emitOuterFaces();
    surface_.outerFaces = surface_.faceCount();
    for (std::size_t cell = 0; cell < cells_.types.size(); ++cell) emitThin(cell);
    return std::move(surface_);
  }

 private:
  /// A face of a solid. The key is a sum over its nodes: it is the same from both sides. Two faces
  /// of ten million get the same by chance with a probability of 1 in 400 000; the picture would
  /// lack them.
  struct SolidFace {
    std::uint64_t key;
    std::uint32_t cell;
    std::uint32_t number;  ///< in the cell's shape; of a polyhedron, among all faces of polyhedra
  };

  [[nodiscard]] std::span<const std::int64_t> nodesOf(std::size_t cell) const {
    const auto begin = static_cast<std::size_t>(cells_.offsets[cell]);
    return cells_.connectivity.subspan(begin,
                                       static_cast<std::size_t>(cells_.offsets[cell + 1]) - begin);
  }
  [[nodiscard]] const Shape& shapeOf(std::size_t cell) const {
    return kShapes.at(cells_.types[cell] / 2U);
  }

  void collectSolids() {
    std::size_t polyhedron = 0;
    for (std::size_t cell = 0; cell < cells_.types.size(); ++cell) {
      const Shape& shape = shapeOf(cell);
      if (shape.kind == Shape::Kind::kPolyhedron) {
        collectPolyhedron(cell, polyhedron++);
      } else if (shape.kind == Shape::Kind::kSolid) {
        const auto nodes = nodesOf(cell);
        for (std::size_t face = 0; face < shape.faces.size(); ++face) {
          const Corners& corners = shape.faces[face];
          std::uint64_t key = corners.count;
          for (std::size_t i = 0; i < corners.count; ++i) {
            key += mixedBits(static_cast<std::uint64_t>(nodes[corners.at[i]]));
          }
          faces_.push_back(
              {key, static_cast<std::uint32_t>(cell), static_cast<std::uint32_t>(face)});
        }
      }
    }
  }

  void collectPolyhedron(std::size_t cell, std::size_t polyhedron) {
    if (polyhedron >= cells_.facesPerPolyhedron.size()) refuse();
    auto nodes = nodesOf(cell);
    auto begin = static_cast<std::size_t>(cells_.offsets[cell]);
    for (int i = 0; i < cells_.facesPerPolyhedron[polyhedron]; ++i) {
      const std::size_t number = polyhedralFaces_.size();
      if (number >= cells_.nodesPerFace.size()) refuse();
      const auto count = static_cast<std::size_t>(std::max(0, cells_.nodesPerFace[number]));
      if (count > nodes.size()) refuse();
      polyhedralFaces_.push_back(begin);
      std::uint64_t key = count;
      for (const std::int64_t node : nodes.first(count)) {
        key += mixedBits(static_cast<std::uint64_t>(node));
      }
      faces_.push_back({key, static_cast<std::uint32_t>(cell), static_cast<std::uint32_t>(number)});
      nodes = nodes.subspan(count);
      begin += count;
    }
  }

  [[noreturn]] static void refuse() {
    throw std::invalid_argument("the faces of a polyhedron have other nodes than the polyhedron");
  }

  void emitOuterFaces() {
    // Equal keys come together: no table of faces is searched in any order.
    std::ranges::sort(faces_, {}, &SolidFace::key);
    std::vector<SolidFace> outer;
    for (std::size_t i = 0; i < faces_.size();) {
      std::size_t end = i + 1;
      while (end < faces_.size() && faces_[end].key == faces_[i].key) ++end;
      if (end - i == 1 && cells_.types[faces_[i].cell] % 2 == 0) outer.push_back(faces_[i]);
      i = end;
    }
    faces_ = {};  // most of the memory: inner faces outnumber the outer ones
    // In the order of the file: neighbours stay together in memory.
    std::ranges::sort(outer, {}, [](const SolidFace& f) { return std::pair(f.cell, f.number); });
    for (const SolidFace& face : outer) {
      const Shape& shape = shapeOf(face.cell);
      if (shape.kind == Shape::Kind::kPolyhedron) {
        const auto count = static_cast<std::size_t>(cells_.nodesPerFace[face.number]);
        emitFace(face.cell, cells_.connectivity.subspan(polyhedralFaces_[face.number], count));
      } else {
        const Corners& corners = shape.faces[face.number];
        const auto nodes = nodesOf(face.cell);
        std::array<std::int64_t, 4> around{};
        for (std::size_t i = 0; i < corners.count; ++i) around[i] = nodes[corners.at[i]];
        emitFace(face.cell, std::span(around).first(corners.count));
      }
    }
  }

  void emitThin(std::size_t cell) {
    if (cells_.types[cell] % 2 != 0) return;  // a ghost
    const Shape& shape = shapeOf(cell);
    const auto nodes = nodesOf(cell);
    const auto number = static_cast<std::uint32_t>(cell);
    if (shape.kind == Shape::Kind::kFlat) {
      // The corners come first in quadratic elements; the nodes on the sides follow.
      emitFace(number, shape.corners == 0 ? nodes : nodes.first(shape.corners));
    } else if (shape.kind == Shape::Kind::kPoint) {
      surface_.points.push_back({static_cast<std::uint32_t>(nodes[0]), number});
    } else if (shape.kind == Shape::Kind::kBar) {
      for (std::size_t i = 0; i + 1 < nodes.size(); ++i) {
        surface_.lines.push_back(
            {{static_cast<std::uint32_t>(nodes[i]), static_cast<std::uint32_t>(nodes[i + 1])},
             number});
      }
    }
  }

  void emitFace(std::uint32_t cell, std::span<const std::int64_t> nodes) {
    for (const std::int64_t node : nodes) {
      surface_.nodes.push_back(static_cast<std::uint32_t>(node));
    }
    surface_.starts.push_back(surface_.nodes.size());
    surface_.cells.push_back(cell);
  }

  const CellTables& cells_;
  std::vector<SolidFace> faces_;
  std::vector<std::size_t> polyhedralFaces_;  ///< where the nodes of each begin
  Surface surface_;
};

/// The nodes of a block and the ways between them.
struct BlockGrid {
  std::array<std::uint32_t, 3> extents;
  std::array<std::uint32_t, 3> strides;

  /// One side, across `axis` at a place along it.
  void emitSide(std::size_t axis, std::uint32_t place, Surface& surface) const {
    const std::size_t u = (axis + 1) % 3;
    const std::size_t v = (axis + 2) % 3;
    for (std::uint32_t j = 0; j + 1 < extents[v]; ++j) {
      for (std::uint32_t i = 0; i + 1 < extents[u]; ++i) {
        const std::uint32_t node = place * strides[axis] + i * strides[u] + j * strides[v];
        for (const std::uint32_t corner :
             {node, node + strides[u], node + strides[u] + strides[v], node + strides[v]}) {
          surface.nodes.push_back(corner);
        }
        surface.starts.push_back(surface.nodes.size());
        surface.cells.push_back(0);
      }
    }
  }
};

}  // namespace

Surface surfaceOf(const CellTables& cells) {
  return Extraction(cells).run();
}

Surface surfaceOfBlock(const std::array<std::int32_t, 3>& extents) {
  Surface surface;
  if (std::ranges::any_of(extents, [](std::int32_t extent) { return extent < 1; })) return surface;
  BlockGrid grid{};
  std::uint32_t stride = 1;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    grid.extents[axis] = static_cast<std::uint32_t>(extents[axis]);
    grid.strides[axis] = stride;
    stride *= grid.extents[axis];
  }
  const auto flatAxes = std::ranges::count(extents, 1);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::uint32_t nodes = grid.extents[axis];
    if (flatAxes == 2 && nodes > 1) {  // a row of nodes
      for (std::uint32_t i = 0; i + 1 < nodes; ++i) surface.lines.push_back({{i, i + 1}, 0});
    } else if (flatAxes < 2 && (flatAxes == 0 || nodes == 1)) {
      grid.emitSide(axis, 0, surface);
      if (nodes > 1) grid.emitSide(axis, nodes - 1, surface);
    }
  }
  if (flatAxes == 3) surface.points.push_back({0, 0});
  if (flatAxes == 0) surface.outerFaces = surface.faceCount();
  return surface;
}

}  // namespace morvex::picture

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace morvex::picture {

/// The cells of a part as libmorvex delivers them, borrowed. The tables of polyhedra are empty
/// where there are none.
struct CellTables {
  std::span<const std::int64_t> offsets;
  std::span<const std::int64_t> connectivity;  ///< nodes from 0
  std::span<const std::uint8_t> types;
  std::span<const std::int32_t> facesPerPolyhedron;
  std::span<const std::int32_t> nodesPerFace;
};

/// What can be seen of a part: faces, lines and points, each with the number of its cell.
struct Surface {
  struct Line {
    std::array<std::uint32_t, 2> nodes;
    std::uint32_t cell;
  };
  struct Point {
    std::uint32_t node;
    std::uint32_t cell;
  };

  std::vector<std::size_t> starts{0};  ///< where the nodes of each face begin, and the end
  std::vector<std::uint32_t> nodes;    ///< of the faces, around each
  std::vector<std::uint32_t> cells;    ///< of the faces
  std::size_t outerFaces = 0;          ///< faces of solids, which come first
  std::vector<Line> lines;
  std::vector<Point> points;

  [[nodiscard]] std::size_t faceCount() const noexcept { return cells.size(); }
  [[nodiscard]] std::span<const std::uint32_t> face(std::size_t number) const {
    return std::span(nodes).subspan(starts[number], starts[number + 1] - starts[number]);
  }
  [[nodiscard]] bool empty() const noexcept {
    return cells.empty() && lines.empty() && points.empty();
  }
};

/// The faces that one solid alone has, and all flat elements, bars and points. Of quadratic
/// elements the corners count, and of bars all nodes. Ghosts are not drawn; a face between an
/// element and its ghost neighbour is inside. std::invalid_argument if the tables of polyhedra
/// contradict each other.
[[nodiscard]] Surface surfaceOf(const CellTables& cells);

/// The outside of a structured block with that many nodes along i, j and k; flat blocks have one
/// face for each cell. Its cells have no numbers: values of blocks are per node.
[[nodiscard]] Surface surfaceOfBlock(const std::array<std::int32_t, 3>& extents);

}  // namespace morvex::picture

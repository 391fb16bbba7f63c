#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "export/stored_cells.hpp"

namespace morvex::tools {

/// The cells of a part as VTK has them.
struct VtkCells {
  std::vector<std::int64_t> connectivity;  ///< Nodes from 0.
  std::vector<std::int64_t> offsets;       ///< Where the nodes of each cell end.
  std::vector<std::uint8_t> types;         ///< VTK's cell types.
  std::vector<std::uint8_t> ghosts;        ///< Flags of each cell; empty if there are no ghosts.
  /// Of each polyhedron the number of its faces, and of each face the number of its nodes and the
  /// nodes; where each cell ends in there, -1 for other cells. Empty if there are no polyhedra.
  std::vector<std::int64_t> faces;
  std::vector<std::int64_t> faceOffsets;
};

[[nodiscard]] VtkCells vtkCellsOf(const StoredCells& stored);

/// Vertices, one for each of `count` points.
[[nodiscard]] VtkCells vertices(std::size_t count);

}  // namespace morvex::tools

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "export/job.hpp"

namespace morvex::tools {

/// The cells of a part, as the library's cells and the Python package have them. They are made from the
/// stored tables, so that no damaged count takes more memory than there are values.
struct StoredCells {
  std::vector<std::int64_t> offsets{0};    ///< Where each cell begins, and the last one ends.
  std::vector<std::int64_t> connectivity;  ///< Nodes from 0; of polyhedra face by face.
  std::vector<std::uint8_t> types;         ///< Element types, in rising order.
  std::vector<std::int32_t> facesPerPolyhedron;
  std::vector<std::int32_t> nodesPerFace;
  bool isDamaged = false;
};
using StoredCellsRef = std::shared_ptr<StoredCells>;

/// Asks for the cells of a part, which are complete when what is asked for next is received. What can't
/// be read is listed.
[[nodiscard]] StoredCellsRef readCells(Job& job, int step, int part, const morvex_part& info);

}  // namespace morvex::tools

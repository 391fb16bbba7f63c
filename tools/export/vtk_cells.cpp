#include "export/vtk_cells.hpp"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "common/element_kinds.hpp"

namespace morvex::tools {
namespace {

constexpr std::uint8_t kVertex = 1;
constexpr std::uint8_t kDuplicateCell = 1;  // a flag of "vtkGhostType"

/// Cell types of VTK's file formats by shape, as in vtkCellType.h.
constexpr std::array<std::uint8_t, MORVEX_ELEMENT_TYPES / 2> kVtkTypes{
    kVertex, 3, 21, 5, 22, 9, 23, 10, 24, 14, 27, 13, 26, 12, 25, 7, 42};

// Where VTK's nodes of a cell are among the stored ones, as in the Python package. Stored bars have
// the node in the middle between the others; the first triangle of a stored pentahedron faces the
// second one, VTK's faces away from it.
constexpr std::array<std::size_t, 3> kBar3{0, 2, 1};
constexpr std::array<std::size_t, 6> kPentahedron6{3, 4, 5, 0, 1, 2};
constexpr std::array<std::size_t, 15> kPentahedron15{3,  4, 5, 0, 1,  2,  9, 10,
                                                     11, 6, 7, 8, 12, 13, 14};
constexpr int kBar3Shape = 2;
constexpr int kPentahedron6Shape = 11;
constexpr int kPentahedron15Shape = 12;

/// Order of the nodes of a shape; empty if VTK has the stored one.
std::span<const std::size_t> orderOf(int shape) {
  if (shape == kBar3Shape) return kBar3;
  if (shape == kPentahedron6Shape) return kPentahedron6;
  if (shape == kPentahedron15Shape) return kPentahedron15;
  return {};
}

/// `order` has an entry for each node.
void reorder(std::span<std::int64_t> nodes, std::span<const std::size_t> order) {
  std::array<std::int64_t, kPentahedron15.size()> old{};
  std::ranges::copy(nodes, old.begin());
  for (std::size_t i = 0; i < order.size(); ++i) nodes[i] = old.at(order[i]);
}

/// Adds polyhedra from their faces one by one.
class PolyhedronMaker {
 public:
  PolyhedronMaker(const StoredCells& stored, VtkCells& cells) : stored_(stored), cells_(cells) {}

  /// `nodes`: those of all faces, face by face.
  void add(std::span<const std::int64_t> nodes) {
    const std::int32_t faceCount = stored_.facesPerPolyhedron.at(polyhedron_++);
    cells_.faces.push_back(faceCount);
    std::size_t at = 0;
    for (std::int32_t f = 0; f < faceCount; ++f) {
      const std::int32_t size = stored_.nodesPerFace.at(face_++);
      cells_.faces.push_back(size);
      for (const std::int64_t node : nodes.subspan(at, static_cast<std::size_t>(size))) {
        cells_.faces.push_back(node);
      }
      at += static_cast<std::size_t>(size);
    }
    // Faces repeat each node about three times; the cell itself has it once.
    std::vector<std::int64_t> own(nodes.begin(), nodes.end());
    std::ranges::sort(own);
    cells_.connectivity.insert(cells_.connectivity.end(), own.begin(),
                               std::unique(own.begin(), own.end()));
    cells_.faceOffsets.push_back(static_cast<std::int64_t>(cells_.faces.size()));
  }

 private:
  const StoredCells& stored_;
  VtkCells& cells_;
  std::size_t polyhedron_ = 0;
  std::size_t face_ = 0;
};

}  // namespace

VtkCells vtkCellsOf(const StoredCells& stored) {
  VtkCells cells;
  const std::size_t count = stored.types.size();
  const auto firstPolyhedron = static_cast<std::size_t>(
      std::ranges::lower_bound(stored.types, std::uint8_t{kNFaced}) - stored.types.begin());
  const bool hasPolyhedra = firstPolyhedron < count;
  const auto plainNodes = static_cast<std::size_t>(stored.offsets[firstPolyhedron]);
  cells.connectivity.assign(stored.connectivity.begin(),
                            stored.connectivity.begin() + static_cast<std::ptrdiff_t>(plainNodes));
  if (hasPolyhedra) cells.faceOffsets.assign(firstPolyhedron, -1);
  PolyhedronMaker polyhedra(stored, cells);
  const bool hasGhosts = std::ranges::any_of(stored.types, [](int type) { return type % 2 == 1; });
  for (std::size_t i = 0; i < count; ++i) {
    const int shape = stored.types[i] / 2;
    const auto begin = static_cast<std::size_t>(stored.offsets[i]);
    const auto size = static_cast<std::size_t>(stored.offsets[i + 1]) - begin;
    if (i >= firstPolyhedron) {
      polyhedra.add(std::span(stored.connectivity).subspan(begin, size));
    } else if (const auto order = orderOf(shape); !order.empty()) {
      reorder(std::span(cells.connectivity).subspan(begin, size), order);
    }
    cells.offsets.push_back(i >= firstPolyhedron
                                ? static_cast<std::int64_t>(cells.connectivity.size())
                                : stored.offsets[i + 1]);
    cells.types.push_back(kVtkTypes.at(static_cast<std::size_t>(shape)));
    if (hasGhosts) cells.ghosts.push_back(stored.types[i] % 2 == 1 ? kDuplicateCell : 0);
  }
  return cells;
}

VtkCells vertices(std::size_t count) {
  VtkCells cells;
  cells.connectivity.resize(count);
  std::iota(cells.connectivity.begin(), cells.connectivity.end(), 0);
  cells.offsets.resize(count);
  std::iota(cells.offsets.begin(), cells.offsets.end(), 1);
  cells.types.assign(count, kVertex);
  return cells;
}

}  // namespace morvex::tools

#include "export/stored_cells.hpp"

#include <cstring>

namespace morvex::tools {
namespace {

/// The tables of one element type while they are read.
struct Tables {
  int type = 0;
  std::uint64_t count = 0;            ///< elements, by the metadata
  std::vector<std::int32_t> perCell;  ///< nodes of polygons, faces of polyhedra
  std::vector<std::int32_t> perFace;  ///< nodes of each face
  std::vector<std::int32_t> nodes;    ///< from 1
  bool isComplete = true;
};
using TablesRef = std::shared_ptr<Tables>;

/// Appends cells to a part. Each function returns why it can't, or nothing.
class Appender {
 public:
  Appender(StoredCells& cells, std::uint64_t partNodes) : cells_(cells), partNodes_(partNodes) {}

  std::string append(const Tables& tables) {
    std::string fault = appendOffsets(tables);
    if (fault.empty()) fault = appendNodes(tables.nodes);
    if (!fault.empty()) return fault;
    cells_.types.insert(cells_.types.end(), tables.count, static_cast<std::uint8_t>(tables.type));
    if (tables.type == kNFaced) {
      cells_.facesPerPolyhedron = tables.perCell;
      cells_.nodesPerFace = tables.perFace;
    }
    return {};
  }

 private:
  /// Ends of the cells, from the shape or the stored sizes, which have to sum to the number of nodes.
  std::string appendOffsets(const Tables& tables) {
    const std::uint64_t end = cells_.connectivity.size() + tables.nodes.size();
    std::int64_t position = cells_.offsets.back();
    std::size_t face = 0;
    const std::int32_t nodes = morvex_nodes_per_element(tables.type);
    // By what is stored: the metadata of a damaged file may claim any number.
    const std::uint64_t count =
        nodes > 0 ? tables.nodes.size() / static_cast<std::uint64_t>(nodes) : tables.perCell.size();
    for (std::uint64_t i = 0; i < count; ++i) {
      if (tables.type == kNFaced) {
        for (std::int32_t f = 0; f < tables.perCell[i]; ++f) {
          if (face == tables.perFace.size()) return "polyhedra have more faces than are stored";
          position += size(tables.perFace[face++]);
        }
      } else {
        position += nodes > 0 ? nodes : size(tables.perCell[i]);
      }
      cells_.offsets.push_back(position);
    }
    const bool fits = hasSizes_ && count == tables.count && face == tables.perFace.size() &&
                      static_cast<std::uint64_t>(position) == end;
    return fits ? "" : "the sizes of the cells don't sum to the number of their nodes";
  }

  /// Stored nodes count from 1. Each is checked, as viewers trust what they read.
  std::string appendNodes(const std::vector<std::int32_t>& nodes) {
    const std::size_t first = cells_.connectivity.size();
    cells_.connectivity.resize(first + nodes.size());
    bool isValid = true;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const std::int64_t node = nodes[i];
      isValid = isValid && node >= 1 && static_cast<std::uint64_t>(node) <= partNodes_;
      cells_.connectivity[first + i] = node - 1;
    }
    return isValid ? "" : "a cell refers to a node that the part doesn't have";
  }

  /// A stored number of nodes; remembers a negative one.
  std::int32_t size(std::int32_t stored) {
    hasSizes_ = hasSizes_ && stored >= 0;
    return stored;
  }

  StoredCells& cells_;
  std::uint64_t partNodes_;
  bool hasSizes_ = true;
};

}  // namespace

StoredCellsRef readCells(Job& job, int step, int part, const morvex_part& info) {
  const auto cells = std::make_shared<StoredCells>();
  for (const int type : cellTypes(info)) {
    const auto tables = std::make_shared<Tables>();
    tables->type = type;
    tables->count = info.elements[type];
    const auto read = [&](morvex_kind kind, std::vector<std::int32_t> Tables::*target) {
      morvex_request asked = request(kind, step, part);
      asked.element_type = type;
      job.feed.array(asked, [tables, target](std::optional<Bytes> values) {
        if (!values) {
          tables->isComplete = false;
          return;
        }
        std::vector<std::int32_t>& table = (*tables).*target;
        table.resize(values->size() / sizeof table[0]);
        std::memcpy(table.data(), values->data(), values->size());
      });
    };
    if (type == kNSided) read(MORVEX_NODES_PER_POLYGON, &Tables::perCell);
    if (type == kNFaced) {
      read(MORVEX_FACES_PER_POLYHEDRON, &Tables::perCell);
      read(MORVEX_NODES_PER_FACE, &Tables::perFace);
    }
    read(MORVEX_CONNECTIVITY, &Tables::nodes);
    job.feed.then([&job, cells, tables, step, part, nodes = info.nodes] {
      if (!tables->isComplete) cells->isDamaged = true;
      if (cells->isDamaged) return;
      const std::string fault = Appender(*cells, nodes).append(*tables);
      // Frees the tables, which take as much memory as the cells.
      *tables = {};
      if (fault.empty()) return;
      cells->isDamaged = true;
      job.feed.lose("/geometry/0/" + std::to_string(step) + "/" + std::to_string(part), fault);
    });
  }
  return cells;
}

}  // namespace morvex::tools

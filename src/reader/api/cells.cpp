#include "reader/api/cells.hpp"

#include <algorithm>

#include "core/checked.hpp"
#include "reader/api/array.hpp"
#include "reader/api/failure.hpp"
#include "reader/element_types.hpp"
#include "simulation/dataset_path.hpp"

namespace morvex::Api {
namespace {

constexpr int kTypes = static_cast<int>(kNodesPerElement.size());

/// Calls `visit` with each type that has cells, and the number of its cells.
template <class Visit>
void eachType(const GeometryMetadata& state, std::size_t part, const Visit& visit) {
  const ElementCounts& counts = state.elementCounts.at(part);
  for (int type = 0; type < kTypes; ++type) {
    const std::uint32_t count = counts[static_cast<std::size_t>(type)];
    if (count > 0 && !isNamelessGhost(type)) visit(type, count);
  }
}

std::uint64_t connectivityOf(const GeometryMetadata& state, std::size_t part, int type,
                             std::uint64_t cells) {
  if (type == kNSided) return state.nsidedConnectivitySize.at(part);
  if (type == kNFaced) return state.nfacedConnectivitySize.at(part);
  return connectivitySize(type, cells);
}

[[noreturn]] void refuseCells(const char* text) {
  throw Refusal(MORVEX_DAMAGED, text);
}

/// Adds a stored size; refuses a negative one.
void advance(std::int64_t& position, std::int32_t size) {
  if (size < 0) refuseCells("the file stores a negative number of nodes");
  position += size;
}

}  // namespace

CellSizes cellSizesOf(const GeometryMetadata& state, std::size_t part) {
  CellSizes sizes;
  eachType(state, part, [&](int type, std::uint32_t cells) {
    sizes.cells += cells;
    sizes.connectivity += connectivityOf(state, part, type, cells);
  });
  constexpr std::uint64_t kMost = std::uint64_t{1} << 48U;
  if (sizes.connectivity > kMost) throw Refusal(MORVEX_TOO_LARGE, "the part has too many cells");
  return sizes;
}

std::vector<std::string> cellDatasets(const GeometryMetadata& state, std::size_t part) {
  std::vector<std::string> names;
  eachType(state, part, [&](int type, std::uint32_t) {
    names.push_back(elementDataset(type, "_elementnodeids"));
    if (type == kNSided) names.emplace_back("nsidednumberofnodes");
    if (type == kNFaced) {
      names.emplace_back("nfacedfacessize");
      names.emplace_back("nfacedfacesnodessize");
    }
  });
  return names;
}

void fillCellTypes(const GeometryMetadata& state, std::size_t part, std::uint8_t* types) {
  eachType(state, part, [&](int type, std::uint32_t cells) {
    types = std::fill_n(types, cells, static_cast<std::uint8_t>(type));
  });
}

void fillCellOffsets(const GeometryMetadata& state, std::size_t part, const CellTable& table,
                     std::span<std::int64_t> offsets) {
  std::size_t cell = 0;
  std::int64_t position = 0;
  eachType(state, part, [&](int type, std::uint32_t cells) {
    const std::int64_t start = position;
    if (type == kNSided) {
      const IdTable sizes = table(MORVEX_NODES_PER_POLYGON, type);
      for (const std::int32_t nodes : sizes) {
        offsets[cell++] = position;
        advance(position, nodes);
      }
    } else if (type == kNFaced) {
      const IdTable nodesPerFace = table(MORVEX_NODES_PER_FACE, type);
      const IdTable facesPerCell = table(MORVEX_FACES_PER_POLYHEDRON, type);
      std::size_t face = 0;
      for (const std::int32_t faces : facesPerCell) {
        offsets[cell++] = position;
        if (faces < 0 || static_cast<std::size_t>(faces) > nodesPerFace.size() - face) {
          refuseCells("a polyhedron's number of faces is negative or exceeds the stored faces");
        }
        for (std::int32_t f = 0; f < faces; ++f) advance(position, nodesPerFace[face++]);
      }
    } else {
      const std::int32_t nodes = kNodesPerElement[static_cast<std::size_t>(type)];
      for (std::uint32_t i = 0; i < cells; ++i, position += nodes) offsets[cell++] = position;
    }
    const auto size = static_cast<std::uint64_t>(position - start);
    if (size != connectivityOf(state, part, type, cells)) {
      refuseCells("the sizes of the cells don't sum to the number of their nodes");
    }
  });
  offsets[cell] = position;
}

void fillCellConnectivity(const GeometryMetadata& state, std::size_t part, const CellTable& table,
                          std::span<std::int64_t> nodes) {
  const std::uint64_t nodeCount = state.numNodes.at(part);
  std::size_t at = 0;
  eachType(state, part, [&](int type, std::uint32_t) {
    const IdTable ids = table(MORVEX_CONNECTIVITY, type);
    for (const std::int32_t node : ids) {
      const std::int64_t fromZero = std::int64_t{node} - 1;
      if (fromZero < 0 || static_cast<std::uint64_t>(fromZero) >= nodeCount) {
        refuseCells("a cell refers to a node that the part doesn't have");
      }
      nodes[at++] = fromZero;
    }
  });
}

}  // namespace morvex::Api

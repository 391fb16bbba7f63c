// Exports that read coordinates, connectivity and border faces.

#include <array>

#include "element_types.hpp"
#include "morvex/morvex_ensg.h"
#include "reading.hpp"

using namespace morvex::guard;

namespace {

std::string groupOf(std::int32_t geometry, std::int32_t step, std::int32_t part) {
  return "/geometry/" + std::to_string(geometry) + "/" + std::to_string(step) + "/" +
         std::to_string(part);
}

/// A part in the state that answers at a step.
struct PartState {
  std::int32_t state;
  std::int32_t index;
  const mxg_part& part;
};

PartState partAt(Facts& facts, std::int32_t step, std::int32_t index) {
  const std::int32_t state = facts.state(MXG_MODEL, step);
  return {state, index, facts.part(state, index)};
}

using Axes = std::array<float*, 3>;

bool wantsAxes(const Axes& axes, std::uint64_t capacity, std::uint64_t size, std::uint64_t* count) {
  bool wantsAny = false;
  for (const float* axis : axes) wantsAny = wantsValues(axis, capacity, size, count) || wantsAny;
  if (wantsAny) {
    for (const float* axis : axes) requirePointer(axis, "an axis");
  }
  return wantsAny;
}

void nameAxes(Call& call, const std::string& group) {
  nameDatasets(call, group, {"coordinates_0", "coordinates_1", "coordinates_2"});
}

std::vector<Target> axisTargets(const Axes& axes, std::uint64_t size) {
  return {targetOf(axes[0], size), targetOf(axes[1], size), targetOf(axes[2], size)};
}

mxg_code readNodes(std::int32_t step, std::int32_t part, bool ofBlock, const Axes& axes,
                   std::uint64_t capacity, std::uint64_t* count,
                   int (*read)(int, int, float*, float*, float*)) {
  return answer({step, part}, [&](Call& call, Facts& facts) {
    const mxg_part& asked = facts.part(facts.coordinateState(MXG_MODEL, step), part);
    nameAxes(call, groupOf(MXG_MODEL, step, part));
    if ((asked.type != 0) != ofBlock) {
      refuse(MXG_WRONG_KIND, ofBlock ? "the part is no block" : "the part is a block");
    }
    const std::uint64_t size = countable(asked.nodes);
    if (!wantsAxes(axes, capacity, size, count)) return;
    readDatasets(call, axisTargets(axes, size),
                 [&] { return read(step, part, axes[0], axes[1], axes[2]); });
  });
}

/// Reads one array of whole numbers: what it is called, how many there are, who is asked.
mxg_code readTable(std::int32_t step, std::int32_t part, const char* dataset,
                   const std::function<std::uint64_t(const PartState&)>& sizeOf,
                   int (*read)(int, int, int*), std::int32_t* values, std::uint64_t capacity,
                   std::uint64_t* count) {
  return answer({step, part}, [&](Call& call, Facts& facts) {
    const PartState asked = partAt(facts, step, part);
    nameDatasets(call, groupOf(MXG_MODEL, asked.state, part), {dataset});
    const std::uint64_t size = sizeOf(asked);
    if (!wantsValues(values, capacity, size, count)) return;
    readDatasets(call, {targetOf(values, size)}, [&] { return read(asked.state, part, values); });
  });
}

}  // namespace

mxg_code mxg_get_part_coordinates(int32_t step, int32_t part, float* x, float* y, float* z,
                                  uint64_t capacity, uint64_t* count) {
  return readNodes(step, part, /*ofBlock=*/false, {x, y, z}, capacity, count,
                   &MX_getPartCoordinates);
}

mxg_code mxg_get_block_structured_coordinates(int32_t step, int32_t block, float* x, float* y,
                                              float* z, uint64_t capacity, uint64_t* count) {
  return readNodes(step, block, /*ofBlock=*/true, {x, y, z}, capacity, count,
                   &MX_getBlockStructuredCoordinates);
}

mxg_code mxg_get_measured_particle_coordinates(int32_t step, float* x, float* y, float* z,
                                               uint64_t capacity, uint64_t* count) {
  return answer({step}, [&](Call& call, Facts& facts) {
    const std::uint64_t size = facts.particles(facts.coordinateState(MXG_PARTICLES, step));
    nameAxes(call, groupOf(MXG_PARTICLES, step, 0));
    const Axes axes{x, y, z};
    if (!wantsAxes(axes, capacity, size, count)) return;
    readDatasets(call, axisTargets(axes, size),
                 [&] { return MX_getMeasuredParticleCoordinates(step, x, y, z); });
  });
}

mxg_code mxg_get_block_iblanking(int32_t step, int32_t block, int32_t* values, uint64_t capacity,
                                 uint64_t* count) {
  return answer({step, block}, [&](Call&, Facts& facts) {
    const PartState asked = partAt(facts, step, block);
    if (asked.part.type == 0) refuse(MXG_WRONG_KIND, "the part is no block");
    (void)wantsValues(values, capacity, 0, count);
    requireAnswered(MX_getBlockIblanking(asked.state, block, values));
  });
}

mxg_code mxg_get_element_connectivity(int32_t step, int32_t part, int32_t element_type,
                                      int32_t* nodes, uint64_t capacity, uint64_t* count) {
  return answer({step, part}, [&](Call& call, Facts& facts) {
    const PartState asked = partAt(facts, step, part);
    const std::uint64_t nodesOfOne = nodesPerElement(element_type);
    nameDatasets(call, groupOf(MXG_MODEL, asked.state, part),
                 {std::to_string(element_type) + "_elementnodeids"});
    const std::uint64_t size = countable(asked.part.elements[element_type]) * nodesOfOne;
    if (!wantsValues(nodes, capacity, size, count)) return;
    readDatasets(call, {targetOf(nodes, size)},
                 [&] { return MX_getElementConnectivity(asked.state, part, element_type, nodes); });
  });
}

mxg_code mxg_get_nsided_number_of_nodes_per_face(int32_t step, int32_t part, int32_t* values,
                                                 uint64_t capacity, uint64_t* count) {
  return readTable(
      step, part, "nsidednumberofnodes",
      [](const PartState& asked) { return countable(asked.part.elements[kNSided]); },
      &MX_getNSidedNumberOfNodesPerFace, values, capacity, count);
}

mxg_code mxg_get_nsided_connectivity(int32_t step, int32_t part, int32_t* nodes, uint64_t capacity,
                                     uint64_t* count) {
  return readTable(
      step, part, "30_elementnodeids",
      [](const PartState& asked) {
        return counted(MX_getDataSizeForNSidedConnectivity(asked.state, asked.index));
      },
      &MX_getNSidedConnectivity, nodes, capacity, count);
}

mxg_code mxg_get_nfaced_number_of_faces_per_element(int32_t step, int32_t part, int32_t* values,
                                                    uint64_t capacity, uint64_t* count) {
  return readTable(
      step, part, "nfacedfacessize",
      [](const PartState& asked) { return countable(asked.part.elements[kNFaced]); },
      &MX_getNFacedNumberOfFacesPerElement, values, capacity, count);
}

mxg_code mxg_get_nfaced_nodes_per_face(int32_t step, int32_t part, int32_t* values,
                                       uint64_t capacity, uint64_t* count) {
  return readTable(
      step, part, "nfacedfacesnodessize",
      [](const PartState& asked) {
        return counted(MX_getDataSizeForNFacedNodesPerFace(asked.state, asked.index));
      },
      &MX_getNFacedNodesPerFace, values, capacity, count);
}

mxg_code mxg_get_nfaced_connectivity(int32_t step, int32_t part, int32_t* nodes, uint64_t capacity,
                                     uint64_t* count) {
  return readTable(
      step, part, "32_elementnodeids",
      [](const PartState& asked) {
        return counted(MX_getDataSizeForNFacedConnectivity(asked.state, asked.index));
      },
      &MX_getNFacedConnectivity, nodes, capacity, count);
}

mxg_code mxg_get_border_faces_conn_by_type(int32_t step, int32_t part, int32_t element_type,
                                           int32_t* nodes, uint64_t nodes_capacity,
                                           uint64_t* nodes_count, int32_t* parent_ids,
                                           int16_t* parent_types, uint64_t faces_capacity,
                                           uint64_t* faces_count) {
  return answer({step, part}, [&](Call& call, Facts& facts) {
    const PartState asked = partAt(facts, step, part);
    const std::uint64_t nodesOfOne = nodesPerElement(element_type);
    const std::string name = std::to_string(element_type) + "_bfs";
    nameDatasets(call, groupOf(MXG_MODEL, asked.state, part), {name, name + "pi", name + "pt"});
    const std::uint64_t faces =
        countable(Facts::borderFaces(asked.state, part)[static_cast<std::size_t>(element_type)]);
    const std::uint64_t size = faces * nodesOfOne;
    const bool wantsIds = wantsValues(parent_ids, faces_capacity, faces, faces_count);
    const bool wantsTypes = wantsValues(parent_types, faces_capacity, faces, faces_count);
    const bool wantsNodes = wantsValues(nodes, nodes_capacity, size, nodes_count);
    if (!wantsIds && !wantsTypes && !wantsNodes) return;
    requirePointer(nodes, "nodes");
    requirePointer(parent_ids, "parent_ids");
    requirePointer(parent_types, "parent_types");
    readDatasets(
        call, {targetOf(nodes, size), targetOf(parent_ids, faces), targetOf(parent_types, faces)},
        [&] {
          return MX_getBorderFacesConnByType(asked.state, part, element_type, nodes, parent_ids,
                                             parent_types);
        });
  });
}

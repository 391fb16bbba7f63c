// Exports that answer from tables: parts, their ids and boxes, sizes, particles.

#include <algorithm>

#include "element_types.hpp"
#include "morvex/morvex_ensg.h"
#include "reading.hpp"

using namespace morvex::guard;

namespace {

constexpr std::uint64_t kBoxSize = 6;

/// Elements of a type in a part.
std::uint64_t elementsOf(const mxg_part& part, std::int32_t type) {
  requireIndex(type, MXG_ELEMENT_TYPES, "element type");
  return countable(part.elements[type]);
}

/// Answers with one of the library's sizes of a part.
mxg_code dataSize(std::int32_t step, std::int32_t part, int (*ask)(int, int),
                  std::uint64_t* count) {
  return answer({step, part}, [&](Call&, Facts& facts) {
    requirePointer(count, "count");
    const std::int32_t state = facts.state(MXG_MODEL, step);
    (void)facts.part(state, part);
    *count = counted(ask(state, part));
  });
}

mxg_code yes(int (*ask)(), std::int32_t* answerOfAsk) {
  return answer({}, [&](Call&, Facts&) {
    requirePointer(answerOfAsk, "answer");
    *answerOfAsk = ask();
  });
}

}  // namespace

mxg_code mxg_has_element_ids(int32_t* answer) {
  return yes(&MX_hasElementIds, answer);
}

mxg_code mxg_has_node_ids(int32_t* answer) {
  return yes(&MX_hasNodeIds, answer);
}

mxg_code mxg_has_measured_geometry(int32_t* answer) {
  return yes(&MX_hasMeasuredGeometry, answer);
}

mxg_code mxg_get_number_of_parts(uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(count, "count");
    *count = facts.partCount();
  });
}

mxg_code mxg_get_part_information(int32_t step, mxg_part* parts, uint64_t capacity,
                                  uint64_t* count) {
  return answer({step}, [&](Call&, Facts& facts) {
    const auto& stored = facts.parts(facts.state(MXG_MODEL, step)).parts;
    if (wantsValues(parts, capacity, stored.size(), count)) std::ranges::copy(stored, parts);
  });
}

mxg_code mxg_get_part_name(int32_t step, int32_t part, char* text, uint64_t capacity,
                           uint64_t* count) {
  return answer({step, part}, [&](Call&, Facts& facts) {
    const PartTable& table = facts.parts(facts.state(MXG_MODEL, step));
    requireIndex(part, table.names.size(), "part");
    giveText(table.names[static_cast<std::size_t>(part)], text, capacity, count);
  });
}

mxg_code mxg_get_part_node_ids(int32_t step, int32_t part, int32_t* ids, uint64_t capacity,
                               uint64_t* count) {
  return answer({step, part}, [&](Call&, Facts& facts) {
    const std::int32_t state = facts.state(MXG_MODEL, step);
    if (!wantsValues(ids, capacity, countable(facts.part(state, part).nodes), count)) return;
    requireAnswered(MX_getPartNodeIds(state, part, ids));
  });
}

mxg_code mxg_get_part_element_ids(int32_t step, int32_t part, int32_t element_type, int32_t* ids,
                                  uint64_t capacity, uint64_t* count) {
  return answer({step, part}, [&](Call&, Facts& facts) {
    const std::int32_t state = facts.state(MXG_MODEL, step);
    const std::uint64_t size = elementsOf(facts.part(state, part), element_type);
    if (!wantsValues(ids, capacity, size, count)) return;
    requireAnswered(MX_getPartElementIds(state, part, element_type, ids));
  });
}

mxg_code mxg_get_bounding_box(int32_t step, float* box, uint64_t capacity, uint64_t* count) {
  return answer({step}, [&](Call&, Facts& facts) {
    const std::int32_t state = facts.state(MXG_MODEL, step);
    if (!wantsValues(box, capacity, kBoxSize, count)) return;
    std::array<float, kBoxSize> stored{};
    requireAnswered(MX_getBoundingBox(state, stored.data()));
    // The library answers for a static model axis by axis, for any other corner by corner.
    if (facts.geometry(MXG_MODEL).adaptivity == MXG_STATIC) {
      stored = {stored[0], stored[2], stored[4], stored[1], stored[3], stored[5]};
    }
    std::ranges::copy(stored, box);
  });
}

mxg_code mxg_finished_geometry_processing(void) {
  return answer({}, [](Call&, Facts&) { MX_finishedGeometryProcessing(); });
}

mxg_code mxg_get_data_size_for_nsided_connectivity(int32_t step, int32_t part, uint64_t* count) {
  return dataSize(step, part, &MX_getDataSizeForNSidedConnectivity, count);
}

mxg_code mxg_get_data_size_for_nfaced_nodes_per_face(int32_t step, int32_t part, uint64_t* count) {
  return dataSize(step, part, &MX_getDataSizeForNFacedNodesPerFace, count);
}

mxg_code mxg_get_data_size_for_nfaced_connectivity(int32_t step, int32_t part, uint64_t* count) {
  return dataSize(step, part, &MX_getDataSizeForNFacedConnectivity, count);
}

mxg_code mxg_has_border_faces(int32_t step, int32_t part, uint64_t* faces, uint64_t capacity,
                              uint64_t* count) {
  return answer({step, part}, [&](Call&, Facts& facts) {
    const std::int32_t state = facts.state(MXG_MODEL, step);
    (void)facts.part(state, part);
    if (!wantsValues(faces, capacity, MXG_ELEMENT_TYPES, count)) return;
    std::ranges::copy(Facts::borderFaces(state, part), faces);
  });
}

mxg_code mxg_get_number_of_measured_particles(int32_t step, uint64_t* count) {
  return answer({step}, [&](Call&, Facts& facts) {
    requirePointer(count, "count");
    *count = facts.particles(facts.state(MXG_PARTICLES, step));
  });
}

mxg_code mxg_get_measured_particle_ids(int32_t step, int32_t* ids, uint64_t capacity,
                                       uint64_t* count) {
  return answer({step}, [&](Call&, Facts& facts) {
    const std::int32_t state = facts.state(MXG_PARTICLES, step);
    if (!wantsValues(ids, capacity, facts.particles(state), count)) return;
    requireAnswered(MX_getMeasuredParticleIds(state, ids));
  });
}

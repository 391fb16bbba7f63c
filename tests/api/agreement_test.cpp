#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "morvex/morvex.hpp"
#include "morvex/morvex_ensg.h"
#include "written_file.hpp"

namespace morvex {
namespace {

using Bytes = std::vector<std::byte>;

/// All arrays that a file announces, as requests.
std::vector<morvex_request> arraysOf(const File& file) {
  std::vector<morvex_request> arrays;
  const auto add = [&](morvex_request of, int type = 0, int component = MORVEX_ALL_COMPONENTS) {
    of.element_type = type;
    of.component = component;
    arrays.push_back(of);
  };
  const morvex_summary summary = file.summary();
  for (int step = 0; step < static_cast<int>(summary.model.steps); ++step) {
    for (int part = 0; part < file.partCount(step); ++part) {
      add(request(MORVEX_COORDINATES, step, part));
      add(request(MORVEX_NODE_IDS, step, part));
      const morvex_part info = file.part(part, step);
      for (int type = 0; type < MORVEX_ELEMENT_TYPES && info.is_block == 0; ++type) {
        if (info.elements[type] > 0 && type != 31 && type != 33) {
          add(request(MORVEX_CONNECTIVITY, step, part), type);
          add(request(MORVEX_ELEMENT_IDS, step, part), type);
        }
        if (info.border_faces[type] == 0) continue;
        for (const auto kind :
             {MORVEX_BORDER_FACES, MORVEX_BORDER_PARENT_IDS, MORVEX_BORDER_PARENT_TYPES}) {
          add(request(kind, step, part), type);
        }
      }
      if (info.elements[30] > 0) add(request(MORVEX_NODES_PER_POLYGON, step, part));
      if (info.elements[32] > 0) {
        add(request(MORVEX_FACES_PER_POLYHEDRON, step, part));
        add(request(MORVEX_NODES_PER_FACE, step, part));
      }
    }
  }
  for (int step = 0; step < static_cast<int>(summary.particles.steps); ++step) {
    add(request(MORVEX_PARTICLE_COORDINATES, step));
    add(request(MORVEX_PARTICLE_IDS, step));
  }
  for (int v = 0; v < static_cast<int>(summary.variables); ++v) {
    const morvex_variable info = file.variable(v);
    if (info.is_constant != 0) continue;
    for (int step = 0; step < static_cast<int>(info.steps); ++step) {
      const int parts = info.on_particles != 0 ? 1 : file.partCount();
      for (int part = 0; part < parts; ++part) {
        for (int type = 0; type < (info.location == 1 ? MORVEX_ELEMENT_TYPES : 1); ++type) {
          for (int imaginary = 0; imaginary <= info.is_complex; ++imaginary) {
            morvex_request of = variableRequest(v, step, part, type);
            of.imaginary = imaginary;
            for (int c = 0; c < info.components; ++c) add(of, type, c);
          }
        }
      }
    }
  }
  return arrays;
}

/// The same array through the exports. False where they have none: no values on the part.
bool readThroughExports(const File& file, const morvex_request& of, Bytes& bytes) {
  auto* const ints = reinterpret_cast<int*>(bytes.data());
  auto* const floats = reinterpret_cast<float*>(bytes.data());
  // Where connectivity stays the exports take step 0 alone.
  const bool hasStates = file.summary().model.change == MORVEX_CONNECTIVITY_CHANGES;
  const int state = hasStates ? of.step : 0;
  const std::size_t third = bytes.size() / 3 / sizeof(float);
  const int type = of.element_type;
  switch (of.kind) {
    case MORVEX_COORDINATES: {
      const bool isBlock = file.part(of.part, of.step).is_block != 0;
      const auto read = isBlock ? MX_getBlockStructuredCoordinates : MX_getPartCoordinates;
      return read(of.step, of.part, floats, floats + third, floats + 2 * third) == 0;
    }
    case MORVEX_PARTICLE_COORDINATES:
      return MX_getMeasuredParticleCoordinates(of.step, floats, floats + third,
                                               floats + 2 * third) == 0;
    case MORVEX_PARTICLE_IDS:
      return MX_getMeasuredParticleIds(0, ints) == 0;
    case MORVEX_CONNECTIVITY:
      if (type == 30) return MX_getNSidedConnectivity(state, of.part, ints) == 0;
      if (type == 32) return MX_getNFacedConnectivity(state, of.part, ints) == 0;
      return MX_getElementConnectivity(state, of.part, type, ints) == 0;
    case MORVEX_NODES_PER_POLYGON:
      return MX_getNSidedNumberOfNodesPerFace(state, of.part, ints) == 0;
    case MORVEX_FACES_PER_POLYHEDRON:
      return MX_getNFacedNumberOfFacesPerElement(state, of.part, ints) == 0;
    case MORVEX_NODES_PER_FACE:
      return MX_getNFacedNodesPerFace(state, of.part, ints) == 0;
    case MORVEX_NODE_IDS:
      return MX_getPartNodeIds(state, of.part, ints) == 0;
    case MORVEX_ELEMENT_IDS:
      return MX_getPartElementIds(state, of.part, type, ints) == 0;
    case MORVEX_VARIABLE: {
      int geometryStep = 0;
      check(morvex_get_geometry_step(file.handle(), of.variable, of.step, &geometryStep));
      const morvex_variable info = file.variable(of.variable);
      return MX_getVariableByComponent(of.step, geometryStep, of.variable, of.part, info.type, type,
                                       of.imaginary, of.component, floats) == 0;
    }
    default: {  // border faces come together
      const auto faces = static_cast<std::size_t>(file.part(of.part).border_faces[type]);
      std::vector<int> nodes(faces * static_cast<std::size_t>(morvex_nodes_per_element(type)));
      std::vector<int> ids(faces);
      std::vector<short> types(faces);
      if (MX_getBorderFacesConnByType(state, of.part, type, nodes.data(), ids.data(),
                                      types.data()) != 0) {
        return false;
      }
      const void* const sources[] = {nodes.data(), ids.data(), types.data()};
      std::memcpy(bytes.data(), sources[of.kind - MORVEX_BORDER_FACES], bytes.size());
      return true;
    }
  }
}

class BothLibraries : public testing::TestWithParam<StoredForm> {};

TEST_P(BothLibraries, DeliverTheSameBitsOfEveryArray) {
  const WrittenFile written(GetParam().describe);
  ASSERT_EQ(MX_openFile(written.path().c_str(), 0), 0);
  for (const int threads : {1, 3}) {
    const File file(written.path(), threads);
    std::vector<morvex_request> arrays = arraysOf(file);
    ASSERT_GT(arrays.size(), 10U);
    std::erase_if(arrays, [&](const morvex_request& of) {
      std::int32_t isThere = 1;
      return morvex_has_array(file.handle(), &of, &isThere) == MORVEX_OK && isThere == 0;
    });
    std::vector<Bytes> targets;
    for (morvex_request& of : arrays) {
      std::uint64_t bytes = 0;
      const morvex_code code = morvex_get_size(file.handle(), &of, &of.capacity, &bytes);
      ASSERT_TRUE(code == MORVEX_OK || code == MORVEX_NOT_DEFINED) << morvex_last_error()->text;
      of.target = targets.emplace_back(of.capacity * bytes).data();
    }
    std::uint64_t told = 0;
    morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
    options.user = &told;
    options.progress = [](void* user, std::uint64_t done, std::uint64_t, std::uint64_t) {
      *static_cast<std::uint64_t*>(user) = done;
      return 0;
    };
    (void)file.read(arrays, options);
    std::uint64_t read = 0;
    for (std::size_t i = 0; i < arrays.size(); ++i) {
      const morvex_request& of = arrays[i];
      Bytes wanted(targets[i].size());
      const bool isThere =
          wanted.empty() ? of.code == MORVEX_OK : readThroughExports(file, of, wanted);
      const std::string name = "kind " + std::to_string(of.kind) + " step " +
                               std::to_string(of.step) + " part " + std::to_string(of.part) +
                               " type " + std::to_string(of.element_type) + " variable " +
                               std::to_string(of.variable);
      EXPECT_EQ(of.code, isThere ? MORVEX_OK : MORVEX_NOT_DEFINED) << name;
      EXPECT_EQ(targets[i], wanted) << name;
      read += of.code == MORVEX_OK ? 1 : 0;
    }
    EXPECT_EQ(told, read);
  }
  MX_exit();
}

INSTANTIATE_TEST_SUITE_P(Forms, BothLibraries, testing::ValuesIn(kStoredForms),
                         [](const auto& form) { return form.param.name; });

}  // namespace
}  // namespace morvex

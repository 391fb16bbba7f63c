// Functions of morvex.h that open and close files and answer from the metadata.

#include <algorithm>
#include <array>
#include <cstring>
#include <ranges>

#include "morvex/morvex.h"
#include "reader/api/call.hpp"
#include "reader/element_types.hpp"
#include "reader/release.hpp"

using namespace morvex;
using namespace morvex::Api;

namespace {

constexpr std::array<const char*, 18> kCodeNames{
    "MORVEX_OK",           "MORVEX_BAD_ARGUMENT", "MORVEX_BAD_HANDLE",  "MORVEX_OUT_OF_RANGE",
    "MORVEX_TOO_SMALL",    "MORVEX_WRONG_KIND",   "MORVEX_NOT_DEFINED", "MORVEX_CANCELLED",
    "MORVEX_CANNOT_OPEN",  "MORVEX_NOT_A_RESULT", "MORVEX_NEWER_FILE",  "MORVEX_NO_SUCH_DATA",
    "MORVEX_DAMAGED",      "MORVEX_AMBIGUOUS",    "MORVEX_TOO_LARGE",   "MORVEX_OUT_OF_MEMORY",
    "MORVEX_FILE_CHANGED", "MORVEX_INTERNAL"};

morvex_geometry geometryOf(const Case& contents, Which which) {
  return {contents.change(which), contents.timeset(which), contents.steps(which)};
}

/// Index of the first item with that name.
template <class Names>
std::int32_t indexOf(const Names& names, const char* name, const char* what) {
  const auto found = std::ranges::find(names, name);
  if (found == std::ranges::end(names)) {
    throw Refusal(MORVEX_OUT_OF_RANGE, "there is no " + std::string(what) + " '" + name + "'");
  }
  return static_cast<std::int32_t>(found - std::ranges::begin(names));
}

void describe(const Case& contents, std::size_t variable, morvex_variable& info) {
  const VariableMetaData& all = contents.metadata().variableMetaData;
  info.name = all.names[variable].c_str();
  info.description = all.descriptions[variable].c_str();
  info.imaginary_name = all.imaginaryDescriptions[variable].c_str();
  info.type = contents.typeOf(variable);
  info.components = Case::componentsOf(info.type);
  info.location = static_cast<std::int32_t>(all.locations[variable]);
  info.is_complex = all.complexFlags[variable] != 0 ? 1 : 0;
  info.frequency = info.is_complex ? all.frequencies[variable] : 0.0F;
  info.is_constant = all.constantFlags[variable] != 0 ? 1 : 0;
  info.on_particles = all.geometryIndices[variable] == 1 ? 1 : 0;
  info.timeset = contents.timesetOf(variable);
  info.steps = contents.stepsOf(variable);
}

void describe(const GeometryMetadata& state, std::size_t part, morvex_part& info) {
  info.name = state.partNames.at(part).c_str();
  info.id = static_cast<std::int32_t>(state.partIds.at(part));
  info.is_block = state.partTypes.at(part) != 0 ? 1 : 0;
  info.nodes = state.numNodes[part];
  std::ranges::copy(state.elementCounts.at(part), info.elements);
  std::ranges::copy(state.borderFaceCounts.at(part), info.border_faces);
  std::ranges::fill(info.extents, 0);
  if (info.is_block) {
    std::ranges::transform(state.blockInfo.at(part), info.extents,
                           [](std::uint32_t extent) { return static_cast<std::int32_t>(extent); });
  }
}

/// False for a box that no point has widened.
bool isGiven(const StoredBox& box) {
  return box[0] <= box[3] && box[1] <= box[4] && box[2] <= box[5];
}

}  // namespace

const char* morvex_code_name(morvex_code code) {
  const auto index = static_cast<std::size_t>(code);
  return index < kCodeNames.size() ? kCodeNames[index] : "?";
}

const char* morvex_version(void) {
  return kRelease.data();
}

const morvex_error* morvex_last_error(void) {
  return lastFailure();
}

morvex_code morvex_open(const char* path, const morvex_open_options* options, morvex_file** file) {
  return guarded([&] {
    require(file, "file");
    *file = nullptr;
    require(path, "path");
    morvex_open_options chosen = MORVEX_OPEN_OPTIONS_INIT;
    if (options) {
      requireStruct(options, "options");
      chosen = *options;
    }
    if (chosen.threads < 0) throw Refusal(MORVEX_BAD_ARGUMENT, "the number of threads is negative");
    *file = addHandle(std::make_unique<File>(path, chosen));
  });
}

morvex_code morvex_close(morvex_file* file) {
  return guarded([&] {
    if (file) removeHandle(file);
  });
}

morvex_code morvex_get_summary(morvex_file* file, morvex_summary* summary) {
  return onFile(file, [&](File& open) {
    requireStruct(summary, "summary");
    const Case& contents = open.contents();
    const SimulationMetadata& metadata = contents.metadata();
    summary->title = metadata.caseMetaData.title.c_str();
    summary->timesets = metadata.timeSets.size();
    summary->parts =
        contents.has(Which::kModel) ? contents.state(Which::kModel, 0).numNodes.size() : 0;
    summary->variables = metadata.variableMetaData.names.size();
    summary->model = geometryOf(contents, Which::kModel);
    summary->particles = geometryOf(contents, Which::kParticles);
    const auto& [major, minor, patch] = metadata.fileVersion;
    std::ranges::copy(std::array{major, minor, patch}, summary->version);
  });
}

morvex_code morvex_get_times(morvex_file* file, int32_t timeset, const float** values,
                             uint64_t* count) {
  return onFile(file, [&](File& open) {
    require(count, "count");
    const auto times = open.contents().times(timeset);
    *count = times.size();
    if (values) *values = times.data();
  });
}

morvex_code morvex_get_part(morvex_file* file, int32_t step, int32_t part, morvex_part* info) {
  return onFile(file, [&](File& open) {
    requireStruct(info, "info");
    const GeometryMetadata& state = open.contents().state(Which::kModel, step);
    describe(state, Case::partOf(state, part), *info);
  });
}

morvex_code morvex_get_part_count(morvex_file* file, int32_t step, uint64_t* count) {
  return onFile(file, [&](File& open) {
    require(count, "count");
    const Case& contents = open.contents();
    *count = contents.has(Which::kModel) ? contents.state(Which::kModel, step).numNodes.size() : 0;
  });
}

morvex_code morvex_get_particle_count(morvex_file* file, int32_t step, uint64_t* count) {
  return onFile(file, [&](File& open) {
    require(count, "count");
    const Case& contents = open.contents();
    *count = 0;
    if (!contents.has(Which::kParticles)) return;
    const GeometryMetadata& state = contents.state(Which::kParticles, step);
    if (!state.numNodes.empty()) *count = state.numNodes[0];
  });
}

morvex_code morvex_get_box(morvex_file* file, int32_t step, float box[6], int32_t* given) {
  return onFile(file, [&](File& open) {
    require(box, "box");
    require(given, "given");
    const Case& contents = open.contents();
    *given = 0;
    if (!contents.has(Which::kModel)) return;
    StoredBox found = kInvertedBox;
    if (contents.change(Which::kModel) == MORVEX_STATIC) {
      const InterleavedBox& whole = contents.metadata().boundingBox;
      found = {whole[0], whole[2], whole[4], whole[1], whole[3], whole[5]};
    } else {
      // If only coordinates change, the file stores one state, whose box is that of the first step.
      const int at = contents.coordinateStep(Which::kModel, step);
      if (contents.change(Which::kModel) == MORVEX_CONNECTIVITY_CHANGES || at == 0) {
        found = contents.state(Which::kModel, at).boundingBox;
      }
    }
    if (!isGiven(found)) return;
    std::ranges::copy(found, box);
    *given = 1;
  });
}

morvex_code morvex_get_variable(morvex_file* file, int32_t variable, morvex_variable* info) {
  return onFile(file, [&](File& open) {
    requireStruct(info, "info");
    const Case& contents = open.contents();
    describe(contents, contents.variableOf(variable), *info);
  });
}

morvex_code morvex_find_variable(morvex_file* file, const char* name, int32_t* variable) {
  return onFile(file, [&](File& open) {
    require(name, "name");
    require(variable, "variable");
    *variable = indexOf(open.contents().metadata().variableMetaData.names, name, "variable");
  });
}

morvex_code morvex_find_part(morvex_file* file, int32_t step, const char* name, int32_t* part) {
  return onFile(file, [&](File& open) {
    require(name, "name");
    require(part, "part");
    *part = indexOf(open.contents().state(Which::kModel, step).partNames, name, "part");
  });
}

const char* morvex_component_name(int32_t type, int32_t component) {
  static constexpr std::array<const char*, 3> kVector{"x", "y", "z"};
  static constexpr std::array<const char*, 6> kSymmetric{"xx", "yy", "zz", "xy", "xz", "yz"};
  static constexpr std::array<const char*, 9> kTensor{"xx", "xy", "xz", "yx", "yy",
                                                      "yz", "zx", "zy", "zz"};
  const auto nameIn = [&](const auto& names) {
    const auto index = static_cast<std::size_t>(component);
    return component >= 0 && index < names.size() ? names[index] : "";
  };
  if (type == 2) return nameIn(kVector);
  if (type == 3) return nameIn(kSymmetric);
  return type == 4 ? nameIn(kTensor) : "";
}

int32_t morvex_nodes_per_element(int32_t element_type) {
  const auto index = static_cast<std::size_t>(element_type);
  return element_type >= 0 && index < kNodesPerElement.size() ? kNodesPerElement[index] : 0;
}

morvex_code morvex_get_geometry_step(morvex_file* file, int32_t variable, int32_t step,
                                     int32_t* geometry_step) {
  return onFile(file, [&](File& open) {
    require(geometry_step, "geometry_step");
    const Case& contents = open.contents();
    *geometry_step = contents.geometryStep(contents.variableOf(variable), step);
  });
}

morvex_code morvex_get_constant(morvex_file* file, int32_t variable, int32_t step, float* value) {
  return onFile(file, [&](File& open) {
    require(value, "value");
    const Case& contents = open.contents();
    const std::size_t index = contents.variableOf(variable);
    const VariableMetaData& all = contents.metadata().variableMetaData;
    if (all.constantFlags[index] == 0) throw Refusal(MORVEX_WRONG_KIND, "the variable has arrays");
    const auto& values = all.constantValues[index];
    const int at = contents.variableStep(index, step);
    *value = values[positionOf(at, values.size(), "step")];
  });
}

#include "array_reader.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "failure_text.hpp"
#include "hash.hpp"
#include "morvex/morvex_ensg.h"

namespace morvex::tools {
namespace {

constexpr int kNotDefinedOnPart = 1;

std::string groupOf(int geometry, int step, int part) {
  return "/geometry/" + std::to_string(geometry) + "/" + std::to_string(step) + "/" +
         std::to_string(part);
}

/// The dataset that a failure is about, if the library names it itself.
std::string_view namedDataset(std::string_view reason) {
  constexpr std::string_view kMissing = "No dataset ";
  return reason.starts_with(kMissing) ? reason.substr(kMissing.size()) : std::string_view{};
}

}  // namespace

const char* kindName(ArrayKind kind) {
  static constexpr std::array<const char*, kArrayKinds> kNames{
      "coordinates",  "block coordinates", "connectivity", "n-sided tables", "n-faced tables",
      "border faces", "particles",         "variables",    "constants"};
  return kNames.at(static_cast<std::size_t>(kind));
}

void Scratch::resize(std::size_t bytes) {
  used_ = 0;
  if (bytes > capacity_ || !data_) {
    data_.reset();  // before the new block: both would be twice the largest array
    capacity_ = 0;
    data_ = std::make_unique_for_overwrite<std::byte[]>(std::max<std::size_t>(bytes, 1));
    capacity_ = bytes;
  }
  used_ = bytes;
}

std::span<const DatasetValues> ArrayReader::read(const ArrayId& array) {
  answer_.clear();
  switch (array.kind) {
    case ArrayKind::coordinates:
    case ArrayKind::blockCoordinates:
      readCoordinates(array);
      break;
    case ArrayKind::connectivity:
      readConnectivity(array);
      break;
    case ArrayKind::polygons:
      readPolygons(array);
      break;
    case ArrayKind::polyhedra:
      readPolyhedra(array);
      break;
    case ArrayKind::borderFaces:
      readBorderFaces(array);
      break;
    case ArrayKind::particles:
      readParticles(array);
      break;
    case ArrayKind::variables:
      readVariable(array);
      break;
    case ArrayKind::constants:
      readConstantValue(array);
      break;
  }
  return answer_;
}

const std::vector<Part>& ArrayReader::parts(int step) {
  const int state = contents_.model.stateAt(step);
  if (state != partsState_) {
    partsState_ = -1;
    parts_ = readParts(contents_, step);
    partsState_ = state;
  }
  return parts_;
}

int ArrayReader::particleCount(int step) const {
  return MX_getNumberOfMeasuredParticles(contents_.measured.stateAt(step));
}

int ArrayReader::geometryStep(const Variable& variable, int step) const {
  const Geometry& geometry = variable.isMeasured ? contents_.measured : contents_.model;
  if (geometry.adaptivity != Adaptivity::connectivity) return 0;
  if (variable.timeSet == geometry.timeSet) return step;
  const auto& times = contents_.timeSets.at(static_cast<std::size_t>(variable.timeSet));
  const auto& states = contents_.timeSets.at(static_cast<std::size_t>(geometry.timeSet));
  const float time = times.at(static_cast<std::size_t>(step));
  const auto later = std::ranges::find_if(states, [&](float start) { return start > time; });
  return std::max(0, static_cast<int>(later - states.begin()) - 1);
}

void ArrayReader::makeRoom(const std::vector<Target>& targets) {
  for (std::size_t k = 0; k < targets.size(); ++k) {
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(0, targets[k].count));
    scratch_.at(k).resize(count * targets[k].size);
  }
}

void ArrayReader::ask(const std::string& group, const std::vector<Target>& targets,
                      const Question& question) {
  std::size_t failed = 0;
  std::string reason = "refused";
  bool hasRoom = false;
  try {
    makeRoom(targets);
    hasRoom = true;
    const int status = question();
    if (status == kNotDefinedOnPart) return;
    if (status == 0) {
      for (std::size_t k = 0; k < targets.size(); ++k) {
        answer_.push_back({group + "/" + targets[k].name, scratch_[k].bytes()});
      }
      return;
    }
  } catch (...) {
    reason = failureText();
    const std::string_view named = namedDataset(reason);
    if (!named.empty()) throw ReadFailure(std::string(named), "no such dataset", true);
  }
  if (hasRoom && targets.size() > 1) failed = failedTarget(targets.size(), question);
  throw ReadFailure(group + "/" + targets.at(failed).name, reason);
}

/// The library doesn't say at which of several datasets a call has failed. Those before it are
/// filled whatever the memory held, the first that isn't is the one.
std::size_t ArrayReader::failedTarget(std::size_t targets, const Question& question) {
  std::array<std::array<std::uint64_t, 3>, 2> left{};
  for (const int pass : {0, 1}) {
    for (std::size_t k = 0; k < targets; ++k) {
      std::ranges::fill(scratch_[k].bytes(), pass == 0 ? std::byte{0} : std::byte{0xFF});
    }
    try {
      (void)question();
    } catch (...) {  // known already
    }
    for (std::size_t k = 0; k < targets; ++k) {
      left[static_cast<std::size_t>(pass)][k] = hashOf(scratch_[k].bytes());
    }
  }
  const auto difference = std::ranges::mismatch(left[0], left[1]);
  const auto index = static_cast<std::size_t>(difference.in1 - left[0].begin());
  return index < targets ? index : 0;
}

void ArrayReader::readCoordinates(const ArrayId& array) {
  const Part& part = parts(array.step).at(static_cast<std::size_t>(array.part));
  const std::vector<Target> axes{{"coordinates_0", part.nodes, sizeof(float)},
                                 {"coordinates_1", part.nodes, sizeof(float)},
                                 {"coordinates_2", part.nodes, sizeof(float)}};
  const auto read = array.kind == ArrayKind::blockCoordinates ? &MX_getBlockStructuredCoordinates
                                                              : &MX_getPartCoordinates;
  ask(groupOf(0, array.step, array.part), axes, [&] {
    return read(array.step, array.part, values<float>(0), values<float>(1), values<float>(2));
  });
}

void ArrayReader::readParticles(const ArrayId& array) {
  const int count = particleCount(array.step);
  const std::vector<Target> axes{{"coordinates_0", count, sizeof(float)},
                                 {"coordinates_1", count, sizeof(float)},
                                 {"coordinates_2", count, sizeof(float)}};
  ask(groupOf(1, array.step, 0), axes, [&] {
    return MX_getMeasuredParticleCoordinates(array.step, values<float>(0), values<float>(1),
                                             values<float>(2));
  });
}

void ArrayReader::readConnectivity(const ArrayId& array) {
  const Part& part = parts(array.step).at(static_cast<std::size_t>(array.part));
  const std::int64_t elements = part.elements.at(static_cast<std::size_t>(array.elementType));
  ask(groupOf(0, array.step, array.part),
      {{std::to_string(array.elementType) + "_elementnodeids",
        elements * nodesPerElement(array.elementType), sizeof(int)}},
      [&] {
        return MX_getElementConnectivity(array.step, array.part, array.elementType, values<int>(0));
      });
}

void ArrayReader::readPolygons(const ArrayId& array) {
  const Part& part = parts(array.step).at(static_cast<std::size_t>(array.part));
  const std::string group = groupOf(0, array.step, array.part);
  if (array.component == 0) {
    ask(group, {{"nsidednumberofnodes", part.elements[kNSided], sizeof(int)}},
        [&] { return MX_getNSidedNumberOfNodesPerFace(array.step, array.part, values<int>(0)); });
    return;
  }
  const int state = contents_.model.stateAt(array.step);
  const int size = MX_getDataSizeForNSidedConnectivity(state, array.part);
  ask(group, {{"30_elementnodeids", size, sizeof(int)}},
      [&] { return MX_getNSidedConnectivity(array.step, array.part, values<int>(0)); });
}

void ArrayReader::readPolyhedra(const ArrayId& array) {
  const Part& part = parts(array.step).at(static_cast<std::size_t>(array.part));
  const std::string group = groupOf(0, array.step, array.part);
  const int state = contents_.model.stateAt(array.step);
  if (array.component == 0) {
    ask(group, {{"nfacedfacessize", part.elements[kNFaced], sizeof(int)}}, [&] {
      return MX_getNFacedNumberOfFacesPerElement(array.step, array.part, values<int>(0));
    });
  } else if (array.component == 1) {
    const int size = MX_getDataSizeForNFacedNodesPerFace(state, array.part);
    ask(group, {{"nfacedfacesnodessize", size, sizeof(int)}},
        [&] { return MX_getNFacedNodesPerFace(array.step, array.part, values<int>(0)); });
  } else {
    const int size = MX_getDataSizeForNFacedConnectivity(state, array.part);
    ask(group, {{"32_elementnodeids", size, sizeof(int)}},
        [&] { return MX_getNFacedConnectivity(array.step, array.part, values<int>(0)); });
  }
}

void ArrayReader::readBorderFaces(const ArrayId& array) {
  const Part& part = parts(array.step).at(static_cast<std::size_t>(array.part));
  const std::int64_t faces = part.borderFaces.at(static_cast<std::size_t>(array.elementType));
  const std::string name = std::to_string(array.elementType) + "_bfs";
  ask(groupOf(0, array.step, array.part),
      {{name, faces * nodesPerElement(array.elementType), sizeof(int)},
       {name + "pi", faces, sizeof(int)},
       {name + "pt", faces, sizeof(short)}},
      [&] {
        return MX_getBorderFacesConnByType(array.step, array.part, array.elementType,
                                           values<int>(0), values<int>(1), values<short>(2));
      });
}

void ArrayReader::readVariable(const ArrayId& array) {
  const Variable& variable = contents_.variables.at(static_cast<std::size_t>(array.variable));
  const int geometryStep = this->geometryStep(variable, array.step);
  std::int64_t count = 0;
  if (variable.isMeasured) {
    count = MX_getNumberOfMeasuredParticles(geometryStep);
  } else {
    const Part& part = parts(geometryStep).at(static_cast<std::size_t>(array.part));
    count = array.elementType < 0 ? part.nodes
                                  : part.elements.at(static_cast<std::size_t>(array.elementType));
  }
  std::string name = array.elementType < 0 ? "" : std::to_string(array.elementType) + "_";
  name += std::to_string(array.component) + (array.isImaginary ? "_data_imag" : "_data");
  ask("/variable/" + variable.name + "/" + std::to_string(array.step) + "/" +
          std::to_string(array.part),
      {{name, count, sizeof(float)}}, [&] {
        return MX_getVariableByComponent(array.step, geometryStep, array.variable, array.part,
                                         variable.type, std::max(0, array.elementType),
                                         array.isImaginary ? 1 : 0, array.component,
                                         values<float>(0));
      });
}

void ArrayReader::readConstantValue(const ArrayId& array) {
  const Variable& variable = contents_.variables.at(static_cast<std::size_t>(array.variable));
  ask("/variable/" + variable.name, {{std::to_string(array.step), 1, sizeof(float)}}, [&] {
    *values<float>(0) = readConstant(array.variable, array.step);
    return 0;
  });
}

}  // namespace morvex::tools

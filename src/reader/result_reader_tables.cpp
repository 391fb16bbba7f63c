// The operations of EnsgMXReader that only need the metadata.

#include <algorithm>
#include <cstring>
#include <numeric>
#include <stdexcept>

#include "core/checked.hpp"
#include "core/error.hpp"
#include "reader/element_types.hpp"
#include "reader/host_counts.hpp"
#include "reader/result_reader.hpp"
#include "simulation/simulation_metadata.hpp"

namespace morvex {

using Kelbor::checkedAt;
using Kelbor::getLogger;

namespace {

/// The part type that is reported without blanking options.
constexpr std::uint32_t kBlockWithoutBlanking = 2;
constexpr std::size_t kBlankingOptions = 5;

template <class T>
void copyWords(const std::vector<T>& words, int* target) {
  static_assert(sizeof(T) == sizeof(int));
  if (!words.empty()) std::memcpy(target, words.data(), words.size() * sizeof(int));
}

void copyText(const std::string& text, char* target) {
  std::memcpy(target, text.c_str(), text.size() + 1);
}

/// Hosts know types 5 and 6 as scalars and vectors.
std::uint32_t hostVariableType(std::uint32_t type) {
  if (type == 5) return 1;
  if (type == 6) return 2;
  return type;
}

}  // namespace

int EnsgMXReader::getNumberOfTimesets() {
  return static_cast<int>(metadata().caseMetaData.numTimesets);
}

int EnsgMXReader::timesetOf(std::int32_t geometry) const {
  const auto& timesets = metadata().caseMetaData.geometryTimesets;
  if (geometry < 0 || timesets.empty()) return 0;
  const std::uint32_t timeset = checkedAt(timesets, geometry);
  return timeset == kNoTimeset ? 0 : static_cast<int>(timeset);
}

int EnsgMXReader::getModelGeoTimeset() {
  return timesetOf(modelGeometry_);
}

int EnsgMXReader::getMeasuredGeoTimeset() {
  return timesetOf(measuredGeometry_);
}

const TimeSet& EnsgMXReader::timeSet(std::int64_t index) const {
  return *checkedAt(metadata().timeSets, index);
}

int EnsgMXReader::getNumberOfTimesteps(int timeset) {
  if (metadata().timeSets.empty()) return 1;
  return timeSet(std::abs(std::int64_t{timeset})).numberOfSteps();
}

int EnsgMXReader::getTimestepsValues(int timeset, float* values) {
  if (metadata().timeSets.empty()) {
    values[0] = 0.0F;
  } else {
    std::ranges::copy(timeSet(timeset).timeValues(), values);
  }
  return 0;
}

int EnsgMXReader::getGeometryAdaptivityType(int geometryType) {
  if (geometryType != 0 && geometryType != 1) {
    getLogger().error() << "Invalid geometry type";
    return -1;
  }
  const std::int32_t index = geometryType == 0 ? modelGeometry_ : measuredGeometry_;
  if (index < 0) {
    getLogger().error() << "Invalid geometry index";
    return -1;
  }
  switch (checkedAt(metadata().caseMetaData.geometryChangeTypes, index)) {
    case GeometryChange::kStatic:
      return 0;
    case GeometryChange::kCoordinates:
      return 1;
    default:
      return 2;
  }
}

int EnsgMXReader::getNumberOfParts() {
  return hostCount(state(modelGeometry_, 0).partIds.size());
}

int EnsgMXReader::getPartInformation(int timestep, int* partIds, char** partDescriptions,
                                     int* partTypes, int* numberOfNodes, int** numberOfElements,
                                     int** ijkDimensions, int** iblankingOptions) {
  const GeometryMetadata& parts = state(modelGeometry_, timestep);
  if (parts.partIds.size() > state(modelGeometry_, 0).partIds.size()) {
    // The host sized its arrays by the first state.
    Kelbor::raise<std::length_error>("A later state has more parts than the first");
  }
  copyWords(parts.partIds, partIds);
  copyWords(parts.partTypes, partTypes);
  for (std::size_t i = 0; i < parts.partIds.size(); ++i) {
    copyText(parts.partNames[i], partDescriptions[i]);
    numberOfNodes[i] = static_cast<int>(static_cast<std::uint32_t>(parts.numNodes[i]));
    std::memcpy(numberOfElements[i], parts.elementCounts[i].data(), sizeof(ElementCounts));
    if (ijkDimensions && parts.partTypes[i] != 0) {
      std::memcpy(ijkDimensions[i], parts.blockInfo[i].data(), sizeof(parts.blockInfo[i]));
    }
    if (iblankingOptions && parts.partTypes[i] == kBlockWithoutBlanking) {
      std::fill_n(iblankingOptions[i], kBlankingOptions, 0);
    }
  }
  return 0;
}

int EnsgMXReader::getBlockIblanking(int /*timestep*/, int /*block*/, int* /*iblanking*/) {
  return -1;
}

int EnsgMXReader::getPartNodeIds(int timestep, int part, int* ids) {
  const int count = hostCount(checkedAt(state(modelGeometry_, timestep).numNodes, part));
  std::iota(ids, ids + count, 0);
  return 0;
}

int EnsgMXReader::getPartElementIds(int timestep, int part, int elementType, int* ids) {
  const ElementCounts& counts = checkedAt(state(modelGeometry_, timestep).elementCounts, part);
  const int count = hostCount(checkedAt(counts, elementType));
  const std::uint64_t start =
      std::accumulate(counts.begin(), counts.begin() + elementType, std::uint64_t{0});
  if (count == 0) return 0;
  (void)hostCount(start + static_cast<std::uint64_t>(count) - 1);  // the last id
  std::iota(ids, ids + count, static_cast<int>(start));
  return 0;
}

int EnsgMXReader::getNumberOfMeasuredParticles(int timestep) {
  return hostCount(checkedAt(state(measuredGeometry_, timestep).numNodes, 0));
}

int EnsgMXReader::getMeasuredParticleIds(int timestep, int* ids) {
  std::iota(ids, ids + getNumberOfMeasuredParticles(timestep), 1);
  return 0;
}

int EnsgMXReader::getBoundingBox(int timestep, float* box) {
  const bool isStatic =
      checkedAt(metadata().caseMetaData.geometryChangeTypes, 0) == GeometryChange::kStatic;
  // The two boxes have different orders of values, as hosts expect.
  std::ranges::copy(isStatic ? metadata().boundingBox : state(modelGeometry_, timestep).boundingBox,
                    box);
  return 0;
}

int EnsgMXReader::hasBorderFaces(int timestep, int part, int* counts) {
  if (!borderFacesAvailable_) return 0;
  const ElementCounts& faces = checkedAt(state(modelGeometry_, timestep).borderFaceCounts, part);
  std::memcpy(counts, faces.data(), sizeof(faces));
  return faces[kTriangle] >= 1 || faces[kQuadrilateral] > 0 ? 1 : 0;
}

int EnsgMXReader::getNumberOfVariables() {
  return hostCount(metadata().variableMetaData.names.size());
}

int EnsgMXReader::getVariableGeoType(int variable) {
  return static_cast<int>(checkedAt(metadata().variableMetaData.geometryIndices, variable));
}

int EnsgMXReader::getVariableInformation(char** names, char** descriptions, int* varTypes,
                                         int* locations, int* complexFlags, char** imaginaryNames,
                                         float* frequencies, int* hasTime, int* timesets) {
  const VariableMetaData& variables = metadata().variableMetaData;
  copyWords(variables.locations, locations);
  copyWords(variables.complexFlags, complexFlags);
  for (std::size_t i = 0; i < variables.names.size(); ++i) {
    copyText(variables.names[i], names[i]);
    varTypes[i] = static_cast<int>(hostVariableType(variables.types[i]));
    if (descriptions && descriptions[i]) copyText(variables.descriptions[i], descriptions[i]);
    // A host requests the imaginary name by passing a non-zero frequency.
    if (imaginaryNames && imaginaryNames[i] && frequencies && frequencies[i] != 0.0F) {
      const bool isComplex = variables.complexFlags[i] != 0;
      copyText(isComplex ? variables.imaginaryDescriptions[i] : std::string(), imaginaryNames[i]);
      frequencies[i] = isComplex ? variables.frequencies[i] : 0.0F;
    }
    const bool hasTimeset = variables.timesets[i] != kNoTimeset;
    if (hasTime && hasTime[i] != 0 && variables.constantFlags[i] != 0) {
      hasTime[i] = hasTimeset ? 1 : 0;
    }
    timesets[i] = hasTimeset ? static_cast<int>(variables.timesets[i]) : 0;
  }
  return 0;
}

float EnsgMXReader::getConstantValue(int timestep, int variable, int /*imaginary*/) {
  return checkedAt(checkedAt(metadata().variableMetaData.constantValues, variable), timestep);
}

}  // namespace morvex

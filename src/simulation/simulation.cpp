#include "simulation/simulation.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "core/checked.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/eviction.hpp"
#include "simulation/float_data.hpp"
#include "simulation/integer_data.hpp"
#include "simulation/metadata_load.hpp"
#include "simulation/read_context.hpp"

namespace morvex {

using Kelbor::checkedAt;

EnsgSimulation::EnsgSimulation(Kelbor::DataManager* context, const std::string& filePath,
                               bool keepUnloaded)
    : SdfFile(context, filePath, /*writable=*/keepUnloaded, /*flavour=*/"", /*compress=*/false) {
  SimulationMetadata metadata;
  if (!keepUnloaded) metadata = loadMetadata(*this);
  metadata_ = std::make_shared<const SimulationMetadata>(std::move(metadata));
  reads_.reset(new ReadContext{*this, *metadata_});
}

EnsgSimulation::EnsgSimulation(Kelbor::DataManager* context, const EnsgSimulation& other)
    : SdfFile(context, other.getFileName(), /*writable=*/false, /*flavour=*/"", /*compress=*/false),
      metadata_(other.metadata_),
      reads_(new ReadContext{*this, *metadata_}) {
  if (other.identity()) expect(*other.identity());
}

EnsgSimulation::~EnsgSimulation() = default;

const GeometryMetadata& EnsgSimulation::bulkState(std::int32_t geometry,
                                                  std::int32_t timestep) const {
  const auto& states = checkedAt(metadata().geometryMetaData, geometry);
  const auto& changeTypes = metadata().caseMetaData.geometryChangeTypes;
  if (checkedAt(changeTypes, geometry) == GeometryChange::kCoordinates && !states.empty()) {
    timestep = std::min(timestep, static_cast<std::int32_t>(states.size() - 1));
  }
  return checkedAt(states, timestep);
}

void EnsgSimulation::readCoordinates(int timestep, int part, int geometryType, int axis,
                                     FloatBuffer buffer, bool raw) {
  const auto geometryCount = static_cast<std::int64_t>(metadata().geometryMetaData.size());
  const bool exists = geometryType >= 0 && geometryType < geometryCount;
  const auto& kinds = metadata().caseMetaData.geometryKinds;
  if (!exists && checkedAt(kinds, 0) != geometryType) {
    Kelbor::raiseUnlogged<std::out_of_range>(Kelbor::kInvalidVectorSubscript);
  }
  morvex::readCoordinatesInto(*reads_, geometryGroup(geometryType, timestep, part),
                              "coordinates_" + std::to_string(axis), part, geometryType,
                              bulkState(exists ? geometryType : 0, timestep), buffer, raw,
                              /*keep=*/false);
}

void EnsgSimulation::readConnectivityInto(const std::string& group, const std::string& mainName,
                                          const std::string& secondName, Int32Buffer buffer,
                                          bool keep) {
  morvex::readConnectivityInto(*reads_, group, mainName, secondName, buffer, keep);
}

void EnsgSimulation::readInt32Into(const std::string& group, const std::string& name,
                                   Int32Buffer buffer, bool keep) {
  morvex::readInt32Into(*reads_, group, name, buffer, keep);
}

void EnsgSimulation::readInt16Into(const std::string& group, const std::string& name,
                                   Int16Buffer buffer, bool keep) {
  morvex::readInt16Into(*reads_, group, name, buffer, keep);
}

void EnsgSimulation::readVariableComponent(int timestep, int variable, int part, int elementType,
                                           int component, bool imaginary, FloatBuffer buffer,
                                           bool keep) {
  const std::string& variableName = checkedAt(metadata().variableMetaData.names, variable);
  readVariableInto(*reads_, timestep, variableName, variableGroup(variableName, timestep, part),
                   variableDataset(elementType, component, imaginary), buffer, keep);
}

void EnsgSimulation::readBlockVariableComponent(int timestep, int variable, int part, int component,
                                                bool imaginary, FloatBuffer buffer, bool keep) {
  (void)checkedAt(metadata().caseMetaData.geometryChangeTypes,
                  SimulationMetadata::perTimestepGeometry);
  readVariableComponent(timestep, variable, part, -1, component, imaginary, buffer, keep);
}

void EnsgSimulation::clearGeometryCache() {
  evictGeometry(reads_->externalDependencyCache);
}

}  // namespace morvex

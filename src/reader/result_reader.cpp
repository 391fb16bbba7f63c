// Construction of EnsgMXReader, and its operations that fill arrays from datasets.

#include "reader/result_reader.hpp"

#include "core/checked.hpp"
#include "core/error.hpp"
#include "reader/element_types.hpp"
#include "reader/host_counts.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/simulation_metadata.hpp"

namespace morvex {

using Kelbor::checkedAt;
using Kelbor::getLogger;

namespace {

/// Values of VariableMetaData::locations for places that hold data.
constexpr std::uint32_t kPerElement = 1;
constexpr std::uint32_t kPerNode = 4;

constexpr int kNoElementType = -1;

/// The host's array, with the number of elements that the host's 32-bit question returned.
template <class T>
BufferInfo<T, long long> bufferOf(T* data, std::uint64_t count) {
  return {data, hostCount(count)};
}

/// The same for an array with several entries per element.
Int32Buffer connectivityBuffer(int* data, int elementType, std::uint64_t elementCount) {
  const auto size =
      connectivitySize(elementType, static_cast<std::uint64_t>(hostCount(elementCount)));
  return {data, static_cast<long long>(size)};
}

}  // namespace

EnsgMXReader::EnsgMXReader(const std::string& fileName, std::uint64_t hostValue,
                           std::uint64_t totalPhysicalMemory)
    : GenericMXReader(fileName, hostValue, totalPhysicalMemory),
      dataManager_(totalPhysicalMemory),
      simulation_(&dataManager_, fileName, /*keepUnloaded=*/false) {
  getLogger().setLogLevel(Kelbor::LogLevel::kWarning);
  const auto& kinds = metadata().caseMetaData.geometryKinds;
  for (std::size_t g = 0; g < kinds.size(); ++g) {
    if (kinds[g] == 0) modelGeometry_ = static_cast<std::int32_t>(g);
    if (kinds[g] == 1) measuredGeometry_ = static_cast<std::int32_t>(g);
  }
}

const GeometryMetadata& EnsgMXReader::state(std::int32_t geometry, int timestep) const {
  return checkedAt(checkedAt(metadata().geometryMetaData, geometry), timestep);
}

int EnsgMXReader::readAxes(int timestep, int part, int geometryType, std::uint64_t count, float* x,
                           float* y, float* z, bool raw) {
  int axis = 0;
  for (float* values : {x, y, z}) {
    simulation_.readCoordinates(timestep, part, geometryType, axis++, bufferOf(values, count), raw);
  }
  return 0;
}

int EnsgMXReader::getPartCoordinates(int timestep, int part, float* x, float* y, float* z) {
  const auto& numNodes = simulation_.bulkState(modelGeometry_, timestep).numNodes;
  return readAxes(timestep, part, 0, checkedAt(numNodes, part), x, y, z, /*raw=*/false);
}

int EnsgMXReader::getBlockStructuredCoordinates(int timestep, int block, float* x, float* y,
                                                float* z) {
  const auto& numNodes = simulation_.bulkState(modelGeometry_, timestep).numNodes;
  return readAxes(timestep, block, 0, checkedAt(numNodes, block), x, y, z, /*raw=*/true);
}

int EnsgMXReader::getMeasuredParticleCoordinates(int timestep, float* x, float* y, float* z) {
  const auto& numNodes = simulation_.bulkState(measuredGeometry_, timestep).numNodes;
  return readAxes(timestep, 0, 1, checkedAt(numNodes, 0), x, y, z, /*raw=*/false);
}

int EnsgMXReader::getElementConnectivity(int timestep, int part, int elementType,
                                         int* connectivity) {
  if (elementType >= kNSided && elementType < static_cast<int>(kNodesPerElement.size())) {
    getLogger().error() << "This function call does not accept nfaced and nsided element type.";
    return -1;
  }
  const auto& counts = simulation_.bulkState(modelGeometry_, timestep).elementCounts;
  const std::uint32_t count = checkedAt(checkedAt(counts, part), elementType);
  const std::string name = elementDataset(elementType, "_elementnodeids");
  simulation_.readConnectivityInto(geometryGroup(0, timestep, part), name, name + "_notreused",
                                   connectivityBuffer(connectivity, elementType, count),
                                   /*keep=*/false);
  return 0;
}

int EnsgMXReader::readPolygonTable(int timestep, int part, int elementType, const char* name,
                                   int* values) {
  const auto& counts = simulation_.bulkState(modelGeometry_, timestep).elementCounts;
  const std::uint32_t count = checkedAt(checkedAt(counts, part), elementType);
  simulation_.readInt32Into(geometryGroup(0, timestep, part), name, bufferOf(values, count),
                            /*keep=*/false);
  return 0;
}

int EnsgMXReader::getNSidedNumberOfNodesPerFace(int timestep, int part, int* values) {
  return readPolygonTable(timestep, part, kNSided, "nsidednumberofnodes", values);
}

int EnsgMXReader::getDataSizeForNSidedConnectivity(int timestep, int part) {
  return hostCount(checkedAt(state(modelGeometry_, timestep).nsidedConnectivitySize, part));
}

int EnsgMXReader::getNSidedConnectivity(int timestep, int part, int* values) {
  const auto& sizes = simulation_.bulkState(modelGeometry_, timestep).nsidedConnectivitySize;
  simulation_.readConnectivityInto(geometryGroup(0, timestep, part), "30_elementnodeids",
                                   "30_elementnodeids_notreused",
                                   bufferOf(values, checkedAt(sizes, part)), /*keep=*/false);
  return 0;
}

int EnsgMXReader::getNFacedNumberOfFacesPerElement(int timestep, int part, int* values) {
  return readPolygonTable(timestep, part, kNFaced, "nfacedfacessize", values);
}

int EnsgMXReader::getDataSizeForNFacedNodesPerFace(int timestep, int part) {
  return hostCount(checkedAt(state(modelGeometry_, timestep).nfacedNodesPerFaceSize, part));
}

int EnsgMXReader::getNFacedNodesPerFace(int timestep, int part, int* values) {
  const auto& sizes = simulation_.bulkState(modelGeometry_, timestep).nfacedNodesPerFaceSize;
  simulation_.readInt32Into(geometryGroup(0, timestep, part), "nfacedfacesnodessize",
                            bufferOf(values, checkedAt(sizes, part)), /*keep=*/false);
  return 0;
}

int EnsgMXReader::getDataSizeForNFacedConnectivity(int timestep, int part) {
  return hostCount(checkedAt(state(modelGeometry_, timestep).nfacedConnectivitySize, part));
}

int EnsgMXReader::getNFacedConnectivity(int timestep, int part, int* values) {
  const auto& sizes = simulation_.bulkState(modelGeometry_, timestep).nfacedConnectivitySize;
  simulation_.readConnectivityInto(geometryGroup(0, timestep, part), "32_elementnodeids",
                                   "32_elementnodeids_notreused",
                                   bufferOf(values, checkedAt(sizes, part)), /*keep=*/false);
  return 0;
}

int EnsgMXReader::getBorderFacesConnByType(int timestep, int part, int elementType,
                                           int* connectivity, int* parentIds, short* parentTypes) {
  const auto& faces = simulation_.bulkState(modelGeometry_, timestep).borderFaceCounts;
  const std::uint32_t count = checkedAt(checkedAt(faces, part), elementType);
  // Faces whose size varies are never stored, as there is no table of their nodes.
  if (elementType >= kNSided && count == 0) return 0;
  const Int32Buffer nodes = connectivityBuffer(connectivity, elementType, count);
  const std::string group = geometryGroup(0, timestep, part);
  const std::string name = elementDataset(elementType, "_bfs");
  simulation_.readConnectivityInto(group, name, name + "_notreused", nodes, /*keep=*/false);
  simulation_.readInt32Into(group, name + "pi", bufferOf(parentIds, count), /*keep=*/false);
  simulation_.readInt16Into(group, name + "pt", bufferOf(parentTypes, count), /*keep=*/false);
  return 0;
}

int EnsgMXReader::getVariableByComponent(int timestep, int geometryTimestep, int variable, int part,
                                         int varType, int elementType, int imaginary, int component,
                                         float* buffer) {
  const VariableMetaData& variables = metadata().variableMetaData;
  if (!Kelbor::checkedBit(checkedAt(variables.definedOnPart, variable), part)) return 1;

  std::int32_t geometry = modelGeometry_;
  switch (checkedAt(variables.geometryIndices, variable)) {
    case 0:
      break;
    case 1:
      geometry = measuredGeometry_;
      break;
    default:
      getLogger().error() << "Unsupported Geometry Type";
      return -1;
  }
  const GeometryMetadata& sizes = state(geometry, geometryTimestep);
  const bool isImaginary = imaginary > 0;
  if (checkedAt(sizes.partTypes, part) != 0) {
    simulation_.readBlockVariableComponent(timestep, variable, part, component, isImaginary,
                                           bufferOf(buffer, checkedAt(sizes.numNodes, part)),
                                           /*keep=*/false);
    return 0;
  }

  // Any other location reads the dataset that the step's number names, which is empty.
  int storedType = geometryTimestep;
  std::uint64_t count = 0;
  const std::uint32_t location = checkedAt(variables.locations, variable);
  if (location == kPerNode) {
    storedType = kNoElementType;
    count = checkedAt(sizes.numNodes, part);
  } else if (location == kPerElement) {
    storedType = elementType;
    count = checkedAt(checkedAt(sizes.elementCounts, part), elementType);
  }
  if (varType < 1 || varType > 4) return -1;
  simulation_.readVariableComponent(timestep, variable, part, storedType, component, isImaginary,
                                    bufferOf(buffer, count), /*keep=*/false);
  return 0;
}

void EnsgMXReader::finishedGeometryProcessing() {
  simulation_.clearGeometryCache();
}

}  // namespace morvex

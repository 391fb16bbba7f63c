#pragma once

#include <cstdint>
#include <string>

namespace morvex {

/// The interface between the exports and an open file. Arrays belong to the host. The host header
/// documents each operation at the function of the same name, which forwards here.
class GenericMXReader {
 public:
  GenericMXReader(std::string fileName, std::uint64_t hostValue, std::uint64_t totalPhysicalMemory);
  GenericMXReader(const GenericMXReader&) = delete;
  GenericMXReader& operator=(const GenericMXReader&) = delete;

  // The order of the virtual functions is fixed.
  virtual ~GenericMXReader();
  virtual int getNumberOfTimesets() = 0;
  virtual int getModelGeoTimeset() = 0;
  virtual int getMeasuredGeoTimeset() = 0;
  virtual int getNumberOfTimesteps(int timeset) = 0;
  virtual int getTimestepsValues(int timeset, float* values) = 0;
  virtual int getGeometryAdaptivityType(int geometryType) = 0;
  virtual int getNumberOfParts() = 0;
  virtual int getPartInformation(int timestep, int* partIds, char** partDescriptions,
                                 int* partTypes, int* numberOfNodes, int** numberOfElements,
                                 int** ijkDimensions, int** iblankingOptions) = 0;
  virtual int getPartCoordinates(int timestep, int part, float* x, float* y, float* z) = 0;
  virtual int getBlockStructuredCoordinates(int timestep, int block, float* x, float* y,
                                            float* z) = 0;
  virtual int getBlockIblanking(int timestep, int block, int* iblanking) = 0;
  virtual int getPartNodeIds(int timestep, int part, int* ids) = 0;
  virtual int getPartElementIds(int timestep, int part, int elementType, int* ids) = 0;
  virtual int hasNodeIds() = 0;
  virtual int hasElementIds() = 0;
  virtual int getElementConnectivity(int timestep, int part, int elementType,
                                     int* connectivity) = 0;
  virtual int getNSidedNumberOfNodesPerFace(int timestep, int part, int* values) = 0;
  virtual int getDataSizeForNSidedConnectivity(int timestep, int part) = 0;
  virtual int getNSidedConnectivity(int timestep, int part, int* values) = 0;
  virtual int getNFacedNumberOfFacesPerElement(int timestep, int part, int* values) = 0;
  virtual int getDataSizeForNFacedNodesPerFace(int timestep, int part) = 0;
  virtual int getNFacedNodesPerFace(int timestep, int part, int* values) = 0;
  virtual int getDataSizeForNFacedConnectivity(int timestep, int part) = 0;
  virtual int getNFacedConnectivity(int timestep, int part, int* values) = 0;
  virtual int hasMeasuredGeometry() = 0;
  virtual int getNumberOfMeasuredParticles(int timestep) = 0;
  virtual int getMeasuredParticleIds(int timestep, int* ids) = 0;
  virtual int getMeasuredParticleCoordinates(int timestep, float* x, float* y, float* z) = 0;
  virtual int getBoundingBox(int timestep, float* box) = 0;
  virtual int getNumberOfVariables() = 0;
  virtual int getVariableGeoType(int variable) = 0;
  virtual int getVariableInformation(char** names, char** descriptions, int* varTypes,
                                     int* locations, int* complexFlags, char** imaginaryNames,
                                     float* frequencies, int* hasTime, int* timesets) = 0;
  virtual int getVariableByComponent(int timestep, int geometryTimestep, int variable, int part,
                                     int varType, int elementType, int imaginary, int component,
                                     float* buffer) = 0;
  virtual float getConstantValue(int timestep, int variable, int imaginary) = 0;
  virtual int hasBorderFaces(int timestep, int part, int* counts) = 0;
  virtual int getBorderFacesConnByType(int timestep, int part, int elementType, int* connectivity,
                                       int* parentIds, short* parentTypes) = 0;
  virtual void finishedGeometryProcessing() = 0;
  virtual void close() = 0;

  [[nodiscard]] const std::string& fileName() const noexcept { return fileName_; }
  /// In bytes, as of opening the file.
  [[nodiscard]] std::uint64_t totalPhysicalMemory() const noexcept { return totalPhysicalMemory_; }
  /// Passed by the host; not interpreted.
  [[nodiscard]] std::uint64_t hostValue() const noexcept { return hostValue_; }

 private:
  std::string fileName_;
  std::uint64_t totalPhysicalMemory_;
  std::uint64_t hostValue_;
};

}  // namespace morvex

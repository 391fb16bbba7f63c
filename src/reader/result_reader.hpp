#pragma once

#include <cstdint>
#include <string>

#include "core/data_manager.hpp"
#include "reader/reader.hpp"
#include "simulation/simulation.hpp"

namespace morvex {

class TimeSet;

/// The reader of result files: answers look-ups from the metadata and forwards requests for arrays
/// to the simulation. Indices come from the host and are checked; std::out_of_range for one beyond
/// its table.
class EnsgMXReader final : public GenericMXReader {
 public:
  /// Opens the file, reads its metadata and finds the geometries. From then on, messages below
  /// WARNING are dropped. Throws what EnsgSimulation's constructor throws.
  EnsgMXReader(const std::string& fileName, std::uint64_t hostValue,
               std::uint64_t totalPhysicalMemory);

  int getNumberOfTimesets() override;
  int getModelGeoTimeset() override;
  int getMeasuredGeoTimeset() override;
  int getNumberOfTimesteps(int timeset) override;
  int getTimestepsValues(int timeset, float* values) override;
  int getGeometryAdaptivityType(int geometryType) override;
  int getNumberOfParts() override;
  int getPartInformation(int timestep, int* partIds, char** partDescriptions, int* partTypes,
                         int* numberOfNodes, int** numberOfElements, int** ijkDimensions,
                         int** iblankingOptions) override;
  int getPartCoordinates(int timestep, int part, float* x, float* y, float* z) override;
  int getBlockStructuredCoordinates(int timestep, int block, float* x, float* y, float* z) override;
  int getBlockIblanking(int timestep, int block, int* iblanking) override;
  int getPartNodeIds(int timestep, int part, int* ids) override;
  int getPartElementIds(int timestep, int part, int elementType, int* ids) override;
  int hasNodeIds() override { return 1; }
  int hasElementIds() override { return 1; }
  int getElementConnectivity(int timestep, int part, int elementType, int* connectivity) override;
  int getNSidedNumberOfNodesPerFace(int timestep, int part, int* values) override;
  int getDataSizeForNSidedConnectivity(int timestep, int part) override;
  int getNSidedConnectivity(int timestep, int part, int* values) override;
  int getNFacedNumberOfFacesPerElement(int timestep, int part, int* values) override;
  int getDataSizeForNFacedNodesPerFace(int timestep, int part) override;
  int getNFacedNodesPerFace(int timestep, int part, int* values) override;
  int getDataSizeForNFacedConnectivity(int timestep, int part) override;
  int getNFacedConnectivity(int timestep, int part, int* values) override;
  int hasMeasuredGeometry() override { return measuredGeometry_ >= 0 ? 1 : 0; }
  int getNumberOfMeasuredParticles(int timestep) override;
  int getMeasuredParticleIds(int timestep, int* ids) override;
  int getMeasuredParticleCoordinates(int timestep, float* x, float* y, float* z) override;
  int getBoundingBox(int timestep, float* box) override;
  int getNumberOfVariables() override;
  int getVariableGeoType(int variable) override;
  int getVariableInformation(char** names, char** descriptions, int* varTypes, int* locations,
                             int* complexFlags, char** imaginaryNames, float* frequencies,
                             int* hasTime, int* timesets) override;
  int getVariableByComponent(int timestep, int geometryTimestep, int variable, int part,
                             int varType, int elementType, int imaginary, int component,
                             float* buffer) override;
  /// Ignores `imaginary`: both parts have the same value.
  float getConstantValue(int timestep, int variable, int imaginary) override;
  int hasBorderFaces(int timestep, int part, int* counts) override;
  int getBorderFacesConnByType(int timestep, int part, int elementType, int* connectivity,
                               int* parentIds, short* parentTypes) override;
  void finishedGeometryProcessing() override;
  /// Does nothing: the destructor releases everything.
  void close() override {}

 private:
  [[nodiscard]] const SimulationMetadata& metadata() const { return simulation_.metadata(); }
  /// The state of exactly this step.
  [[nodiscard]] const GeometryMetadata& state(std::int32_t geometry, int timestep) const;
  [[nodiscard]] int timesetOf(std::int32_t geometry) const;
  [[nodiscard]] const TimeSet& timeSet(std::int64_t index) const;
  int readAxes(int timestep, int part, int geometryType, std::uint64_t count, float* x, float* y,
               float* z, bool raw);
  int readPolygonTable(int timestep, int part, int elementType, const char* name, int* values);

  Kelbor::DataManager dataManager_;  // everything in the simulation borrows it
  EnsgSimulation simulation_;
  bool borderFacesAvailable_ = true;
  std::int32_t measuredGeometry_ = -1;
  std::int32_t modelGeometry_ = -1;
};

}  // namespace morvex

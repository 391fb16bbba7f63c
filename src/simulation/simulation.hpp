#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sdf/sdf_file.hpp"
#include "simulation/host_array.hpp"

namespace morvex {

struct GeometryMetadata;
struct ReadContext;
struct SimulationMetadata;

/// An open result file: its metadata, read once, and the read paths into a host's array. A read
/// looks up the dataset's recipe, computes the results of other datasets that the recipe refers to
/// into a cache, builds the chain of procedures and runs it into the array. Used by one thread.
///
/// Failed reads throw: std::runtime_error for a missing dataset, std::out_of_range for an index
/// beyond a table, Kelbor::Exception "Provider prepare the content failed!" for a damaged payload,
/// InternalError for a damaged recipe, std::logic_error for a label that the kind of data doesn't
/// accept. The array's content is then unspecified; later reads are not affected.
class EnsgSimulation final : public Kelbor::MathModule::SdfFile {
 public:
  /// Opens the file and reads its metadata. `context` is borrowed and must outlive this object.
  /// `keepUnloaded` opens the file for writing and reads no metadata. std::runtime_error
  /// "Failed to open file", and whatever loadMetadata() throws.
  EnsgSimulation(Kelbor::DataManager* context, const std::string& filePath, bool keepUnloaded);
  /// Another reader of the file that `other` has open, for another thread; shares its metadata.
  /// Opens the file at the first read; std::runtime_error "Failed to open file" if it is no longer
  /// the same file.
  EnsgSimulation(Kelbor::DataManager* context, const EnsgSimulation& other);
  ~EnsgSimulation() override;

  [[nodiscard]] const SimulationMetadata& metadata() const noexcept { return *metadata_; }

  /// State `timestep` of a geometry, for sizes and flags of its bulk data. If only coordinates
  /// change, steps beyond the stored states use the last state. std::out_of_range.
  [[nodiscard]] const GeometryMetadata& bulkState(std::int32_t geometry,
                                                  std::int32_t timestep) const;

  /// One axis (0 x, 1 y, 2 z) of the nodes of a part. `geometryType` is 0 for the model, 1 for
  /// measured particles; `raw` is set for structured blocks, which are never quantised.
  void readCoordinates(int timestep, int part, int geometryType, int axis, FloatBuffer buffer,
                       bool raw);

  /// Node numbers of elements or faces. `secondName` is the dataset of new ids, which may be
  /// missing. Here and below, `keep` stores a copy of the values for later reads.
  void readConnectivityInto(const std::string& group, const std::string& mainName,
                            const std::string& secondName, Int32Buffer buffer, bool keep);
  void readInt32Into(const std::string& group, const std::string& name, Int32Buffer buffer,
                     bool keep);
  void readInt16Into(const std::string& group, const std::string& name, Int16Buffer buffer,
                     bool keep);

  /// One component of a variable at a step; `elementType` is -1 for values per node.
  void readVariableComponent(int timestep, int variable, int part, int elementType, int component,
                             bool imaginary, FloatBuffer buffer, bool keep);
  /// The same on a structured block, which has one value per node.
  void readBlockVariableComponent(int timestep, int variable, int part, int component,
                                  bool imaginary, FloatBuffer buffer, bool keep);

  /// Evicts what reads of quantised coordinates share. To be called once the host has finished with
  /// geometry.
  void clearGeometryCache();

  /// The state that reads share; its counts are for tests and tools.
  [[nodiscard]] ReadContext& reads() noexcept { return *reads_; }
  [[nodiscard]] const ReadContext& reads() const noexcept { return *reads_; }

 private:
  std::shared_ptr<const SimulationMetadata> metadata_;
  std::unique_ptr<ReadContext> reads_;
};

}  // namespace morvex

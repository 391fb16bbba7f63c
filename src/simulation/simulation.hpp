#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/chain.hpp"
#include "core/storage.hpp"
#include "recipes/chain_builder.hpp"
#include "recipes/dataset_cache.hpp"
#include "recipes/parameter_blocks.hpp"
#include "sdf/sdf_file.hpp"
#include "simulation/metadata_load.hpp"
#include "simulation/stored_dataset.hpp"

namespace morvex {

/// A host's array to read into: the host allocates and frees it.
template <class T, class S>
struct BufferInfo {
  T* data;
  /// Elements, not bytes.
  S size;
};

using FloatBuffer = BufferInfo<float, long long>;
using Int32Buffer = BufferInfo<std::int32_t, long long>;
using Int16Buffer = BufferInfo<std::int16_t, long long>;

/// An open result file: its metadata, read once, and the ways from a request to values in a host's
/// array. A read looks up the dataset's recipe, brings the results of other datasets that the
/// recipe leans on into a cache, builds the chain of procedures and pulls the last of them straight
/// into the array. Used by one thread.
///
/// Failed reads throw: std::runtime_error for a dataset that is not there, std::out_of_range for an
/// index beyond a table, Kelbor::Exception "Provider prepare the content failed!" for a damaged
/// payload, InternalError for a damaged recipe, std::logic_error for a label that the kind of data
/// doesn't take. The array's content is then unspecified; the next read is not affected.
class EnsgSimulation final : public Kelbor::MathModule::SdfFile {
 public:
  /// Opens the file and reads its metadata. `context` is borrowed and must outlive this object.
  /// With `keepUnloaded` the file is opened for writing and no metadata is read.
  /// std::runtime_error "Failed to open file", and what loadMetadata throws.
  EnsgSimulation(Kelbor::DataManager* context, const std::string& filePath, bool keepUnloaded);

  [[nodiscard]] const SimulationMetadata& metadata() const noexcept { return metadata_; }

  /// State `timestep` of a geometry, for sizes and flags of its bulk data: where only coordinates
  /// change, a step beyond the stored states means the last of them. std::out_of_range.
  [[nodiscard]] const GeometryMetadata& bulkState(std::int32_t geometry,
                                                  std::int32_t timestep) const;

  /// One axis (0 x, 1 y, 2 z) of the nodes of a part. `geometryType` is 0 for the model, 1 for
  /// measured particles; `raw` is set for structured blocks, which are stored as they are.
  void readCoordinates(int timestep, int part, int geometryType, int axis, FloatBuffer buffer,
                       bool raw);
  /// With `keep`, as everywhere below, the values are also kept in the storage.
  void readCoordinatesInto(const std::string& group, const std::string& name, int part,
                           int geometryType, const GeometryMetadata& geometryMetadata,
                           FloatBuffer buffer, bool raw, bool keep);

  /// Node numbers of elements or faces; `secondName` is the dataset of new ids, where there is one.
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

  /// Forgets what the reads of quantised coordinates share. The host says that it is through with
  /// geometry.
  void clearGeometryCache();

  /// Results of other datasets that are kept at the moment.
  [[nodiscard]] const DatasetCache& externalDependencyCache() const noexcept {
    return externalDependencyCache_;
  }
  /// How many results of other datasets have been computed since the file was opened.
  [[nodiscard]] std::uint64_t cookedDatasets() const noexcept { return cookedDatasets_; }

 private:
  using Providers = std::vector<std::unique_ptr<Kelbor::DataProvider>>;

  /// A dataset that others lean on, opened and not yet computed. Its key is its path.
  struct Dependency {
    ExternalReference reference;
    StoredDataset dataset;
  };

  /// The recipe that a dataset names. std::out_of_range beyond the file's list.
  [[nodiscard]] const ZipRecipe& recipeOf(const DatasetHeader& header) const;
  /// What follows the header of a dataset; null if there is none of that name.
  [[nodiscard]] std::unique_ptr<Kelbor::DataProvider> payloadOf(const std::string& group,
                                                                const std::string& name);
  /// A whole dataset beside another; null if there is none or it is empty.
  [[nodiscard]] std::unique_ptr<Kelbor::DataProvider> optionalDataset(const std::string& group,
                                                                      const std::string& name);
  /// The payload and the two datasets of outliers that may stand beside it.
  [[nodiscard]] Providers quantizedInputs(std::unique_ptr<Kelbor::DataProvider> payload,
                                          const std::string& group, const std::string& name);

  [[nodiscard]] std::unique_ptr<Kelbor::BranchedChain> makeChain(
      const Recipe& recipe, Providers inputs, const ParameterBlock& parameters,
      const ClassCreators& classCreators, std::uint64_t size, KeyMapper keyMapper = {});
  /// Runs the chain's result `key` into the buffer. InternalError "Failed to read data insitu" if
  /// the values ended elsewhere.
  template <class Stored, class T>
  void pullInto(const Kelbor::BranchedChain& chain, std::string_view key,
                BufferInfo<T, long long> buffer);
  /// Copies values that the storage keeps; false if it keeps none. std::logic_error `mismatch` for
  /// another number of values.
  template <class Stored, class T>
  bool readFromStorage(const std::string& path, BufferInfo<T, long long> buffer,
                       const char* mismatch);
  /// Keeps a copy of values that have been read, with the type of the output they came from.
  template <class T>
  void keepInStorage(const std::string& path, Kelbor::DataType type,
                     BufferInfo<T, long long> buffer);

  // The same for values that are floats to the host: stored words with the bits of floats where
  // `rawWords` is set, else values that a dequantisation makes.

  /// Builds the chain of a dataset and runs its result `outputKey` into the buffer. Returns the
  /// chain, which still reads from the cache.
  std::unique_ptr<Kelbor::BranchedChain> pullFloats(
      const Recipe& recipe, std::unique_ptr<Kelbor::DataProvider> payload, const std::string& group,
      const std::string& name, const ParameterBlock& parameters, const ClassCreators& classCreators,
      std::string_view outputKey, FloatBuffer buffer, bool rawWords);
  bool readFloatsFromStorage(const std::string& path, FloatBuffer buffer, bool rawWords,
                             const char* mismatch);
  void keepFloats(const std::string& path, FloatBuffer buffer, bool rawWords);

  template <class T>
  void readIntegersInto(const std::string& group, const std::string& name, const char* secondName,
                        BufferInfo<T, long long> buffer, bool keep, const char* mismatch);
  void readVariableInto(int timestep, const std::string& variableName, const std::string& group,
                        const std::string& name, FloatBuffer buffer, bool keep);

  /// The pattern entry of a step of a variable that is stored in time differences.
  [[nodiscard]] const PatternEntry& patternEntry(const std::string& variableName,
                                                 std::int32_t timestep) const;
  [[nodiscard]] bool usesTimeDiffs(std::string_view variableName) const;

  /// Computes everything that the recipe of a dataset leans on and that is not in the cache.
  void fetchAndCacheExternalDependencies(const Recipe& recipe, std::uint64_t size,
                                         const std::string& group, const std::string& name,
                                         const std::string& variableName);
  /// All that a recipe leans on, directly or not, each after what it leans on itself.
  [[nodiscard]] std::vector<Dependency> resolveDependencies(const Recipe& recipe,
                                                            const std::string& group,
                                                            const std::string& name);
  void cookExtRecipe(Dependency dependency, std::uint64_t size);

  /// Drops what no neighbouring step of the variable can need.
  void evictAfterVariable(const std::string& variableName, std::int32_t timestep);

  SimulationMetadata metadata_;
  DatasetCache externalDependencyCache_;
  FactoryCache factories_;
  Kelbor::KelborStorage storage_;
  std::uint64_t cookedDatasets_ = 0;
};

}  // namespace morvex

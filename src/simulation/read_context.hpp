#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "core/storage.hpp"
#include "recipes/chain_builder.hpp"
#include "recipes/dataset_cache.hpp"
#include "recipes/parameter_blocks.hpp"
#include "recipes/recipe_labels.hpp"
#include "sdf/sdf_file.hpp"
#include "simulation/simulation_metadata.hpp"
#include "simulation/stored_dataset.hpp"

namespace morvex {

using Providers = std::vector<std::unique_ptr<Kelbor::DataProvider>>;

/// Where a read failed. Complements the exception: for a failed dependency, that only reports a
/// missing result.
struct ReadFailure {
  /// The dataset that was asked for. Both are empty without a failure.
  std::string requested;
  /// The first dataset that failed: the requested one or one of its dependencies.
  std::string dataset;
  /// True if the file lacks the dataset.
  bool isMissing = false;
};

/// Shared by all reads of an open file: the file, its metadata, and what reads keep for later ones.
/// Used by one thread.
struct ReadContext {
  /// Borrowed; must outlive the context.
  Kelbor::MathModule::SdfFile& file;
  const SimulationMetadata& metadata;

  /// The file's precision settings; caches look-ups.
  Precisions precisions = metadata.precisions;
  /// Finished results of other datasets.
  DatasetCache externalDependencyCache{};
  FactoryCache factories{};
  ParameterBlocks parameterBlocks{};
  /// Whole datasets by path, stored by reads with `keep`.
  Kelbor::KelborStorage storage{};
  /// The failure of the last read, if any.
  ReadFailure failure{};
  /// Number of results of other datasets computed so far, for tests and measurements.
  std::uint64_t cookedDatasets = 0;

  [[nodiscard]] Kelbor::DataManager* manager() const noexcept { return file.getContext(); }
  /// The recipe of a dataset. std::out_of_range beyond the file's list.
  [[nodiscard]] const ZipRecipe& recipeOf(const DatasetHeader& header) const;
  /// The dataset's bytes after its header; null if there is no such dataset.
  [[nodiscard]] std::unique_ptr<Kelbor::DataProvider> payloadOf(const std::string& group,
                                                                const std::string& name) const;
  /// Settings for a chain of `size` values. All is borrowed from this context.
  [[nodiscard]] ChainSettings chainSettings(const ClassCreators& classCreators,
                                            const std::uint64_t& size, KeyMapper keyMapper = {});
};

/// Completes the context's failure if an exception ends the read that this object is part of.
class FailureNote {
 public:
  /// All arguments are borrowed.
  FailureNote(ReadContext& context, const std::string& group, const std::string& name)
      : context_(context), group_(group), name_(name) {
    context.failure = {};
  }
  ~FailureNote();
  FailureNote(const FailureNote&) = delete;
  FailureNote& operator=(const FailureNote&) = delete;

 private:
  ReadContext& context_;
  const std::string& group_;
  const std::string& name_;
  int exceptionsBefore_ = std::uncaught_exceptions();
};

}  // namespace morvex

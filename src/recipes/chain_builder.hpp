#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "core/chain.hpp"
#include "metadata/deserializer.hpp"
#include "recipes/dataset_cache.hpp"
#include "recipes/procedure_factory.hpp"
#include "recipes/recipe.hpp"

namespace morvex {

/// Turns the dataset key of an external reference into the path of that dataset.
using KeyMapper = std::function<std::string(const std::string& datasetKey)>;

/// What a chain is built with beside its recipe. All is borrowed for the call.
struct ChainSettings {
  Kelbor::DataManager* context;
  /// The classes accepted for this kind of dataset; must live as long as `factories`.
  const ClassCreators& classCreators;
  /// Factories read so far from the recipes' class streams.
  FactoryCache& factories;
  /// Extents of the result, passed to every factory.
  std::span<const std::uint64_t> sizes;
  /// Finished results of other datasets.
  const DatasetCache& cache;
  /// Empty if keys are paths already.
  KeyMapper keyMapper = {};
};

}  // namespace morvex

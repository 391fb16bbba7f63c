#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "core/chain.hpp"
#include "metadata/deserializer.hpp"
#include "recipes/dataset_cache.hpp"
#include "recipes/procedure_factory.hpp"
#include "recipes/recipe.hpp"

namespace morvex {

/// Turns the dataset key of an external reference into the path of the dataset it means.
using KeyMapper = std::function<std::string(const std::string& datasetKey)>;

/// The factories of the recipes that chains were built of, so that no recipe is read twice. Recipes
/// are known by their address: they must outlive the cache, and stay as they are.
class FactoryCache {
 public:
  [[nodiscard]] FactoryList& factoriesOf(const Recipe& recipe, Kelbor::DataManager* context,
                                         const ClassCreators& classCreators);

 private:
  std::map<std::pair<const Recipe*, const ClassCreators*>, FactoryList> lists_;
};

/// What a chain is made with, apart from its recipe. All is borrowed for the call.
struct ChainSettings {
  Kelbor::DataManager* context;
  /// The classes that the reader of this kind of dataset accepts; lives as long as `factories`.
  const ClassCreators& classCreators;
  /// What has been read of the recipes' class streams.
  FactoryCache& factories;
  /// Extents of the result, handed to every factory.
  std::span<const std::uint64_t> sizes;
  /// Finished results of other datasets.
  const DatasetCache& cache;
  /// Empty where keys are paths already.
  KeyMapper keyMapper = {};
};

/// Makes the procedures of a recipe and wires them to `inputs`, to each other and to finished
/// results of other datasets. The chain owns all that is given and made, before anything can throw,
/// and keeps the finished results alive that it reads. Entries of `inputs` may be null: they take
/// no slot. `parameters` stands behind the version of a parameter block.
///
/// InternalError for a class that is not accepted or wiring that leads nowhere; std::runtime_error
/// "External dependency must be in cache: " + path; and whatever the procedures refuse.
[[nodiscard]] std::unique_ptr<Kelbor::BranchedChain> buildChain(
    const Recipe& recipe, std::vector<std::unique_ptr<Kelbor::DataProvider>> inputs,
    Deserializer parameters, const ChainSettings& settings);

}  // namespace morvex

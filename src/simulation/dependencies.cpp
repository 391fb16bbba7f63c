#include "simulation/dependencies.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "core/checked.hpp"
#include "core/scoped_access.hpp"
#include "inflate/limits.hpp"
#include "metadata/exception.hpp"
#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/eviction.hpp"
#include "simulation/read_context.hpp"

namespace morvex {

using Kelbor::checkedAt;
using Kelbor::getLogger;
using Kelbor::raise;

namespace {

constexpr std::string_view kQuantizedValuesSuffix = "_vquant";
/// The name of coordinates in place of a variable's.
constexpr std::string_view kCoordinates = "coordinates";

const ClassCreators& dependencyClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kChunkedZlibTree, ClassTags::kTreeSums, ClassTags::kChunkedZlib,
                       ClassTags::kParallelWrapper, ClassTags::kVectorSums, ClassTags::kDecoderZlib,
                       ClassTags::kDequantization});
  return creators;
}

bool isDecompressionLabel(std::string_view label) {
  if (label == Labels::kDefault || label == Labels::kTreeDiff) return true;
  for (const std::string_view ending :
       {"Extrapolation:DefaultDecompression", "Interpolation:DefaultDecompression",
        "Extrapolation:TreeDiffDecompression", "Interpolation:TreeDiffDecompression"}) {
    if (label.ends_with(ending)) return true;
  }
  return false;
}

/// A stored number of values; std::length_error if no payload of that length can yield that many,
/// since the number sizes memory. `hostSize` is the number that the host asked for.
std::uint64_t requirePlausibleSize(std::uint64_t size, std::uint64_t hostSize,
                                   const Kelbor::DataProvider* payload) {
  const std::uint64_t stored = payload ? payload->getDataDimension().getNumberOfElements() : 0;
  if (size > hostSize && !Kelbor::Inflate::isPlausibleSize(stored, size - hostSize)) {
    raise<std::length_error>(Kelbor::kVectorTooLong);
  }
  return size;
}

DatasetCacheKey cacheKeyOf(const ExternalReference& reference) {
  return {static_cast<std::int32_t>(reference.outputIndex), reference.outputKey,
          reference.datasetKey};
}

/// A result to compute: its reference, with its path as key, and its opened dataset.
struct Dependency {
  ExternalReference reference;
  StoredDataset dataset;
};

bool hasReferences(const Recipe& recipe) {
  return std::ranges::any_of(recipe.inputs, [](const Recipe::Input& input) {
    return boost::get<ExternalReference>(&input) != nullptr;
  });
}

/// Finds everything that a recipe refers to. Walks in depth with an explicit stack: a file sets no
/// limit to the depth, so recursion could overflow.
class DependencyWalk {
 public:
  explicit DependencyWalk(ReadContext& context) : context_(context) {}

  /// Ordered so that each dependency precedes those that refer to it.
  std::vector<Dependency> resolve(const Recipe& recipe, const std::string& group,
                                  const std::string& name) {
    stack_.push_back({{}, {}, &recipe, group, name});
    while (!stack_.empty()) {
      OpenDataset& top = stack_.back();
      if (top.nextInput == top.recipe->inputs.size()) {
        close();
      } else if (const auto* stored =
                     boost::get<ExternalReference>(&top.recipe->inputs[top.nextInput++])) {
        enter(*stored);
      }
    }
    return std::move(resolved_);
  }

 private:
  /// A dataset whose references are being walked. The first one is the host's and has no reference.
  struct OpenDataset {
    ExternalReference reference;
    StoredDataset dataset;
    const Recipe* recipe;
    std::string group;
    std::string name;
    std::size_t nextInput = 0;
  };

  void enter(const ExternalReference& stored) {
    const OpenDataset& parent = stack_.back();
    ExternalReference reference = stored;
    reference.datasetKey = resolveDatasetKey(stored.datasetKey, parent.group, parent.name);
    if (done_.contains(reference)) return;
    DatasetCacheKey key = cacheKeyOf(reference);
    if (open_.contains(key)) {
      raise<std::runtime_error>("External dependency cycle at " + reference.datasetKey);
    }
    // A cached result needs none of its own references.
    if (context_.externalDependencyCache.find(key)) return;
    auto [group, name] = splitDatasetPath(reference.datasetKey);
    StoredDataset dataset = openStoredDataset(context_, group, name);
    const Recipe& recipe = context_.recipeOf(dataset.header).recipe;
    open_.insert(std::move(key));
    stack_.push_back(
        {std::move(reference), std::move(dataset), &recipe, std::move(group), std::move(name)});
  }

  void close() {
    OpenDataset& top = stack_.back();
    if (stack_.size() > 1) {
      open_.erase(cacheKeyOf(top.reference));
      done_.insert(top.reference);
      resolved_.push_back({std::move(top.reference), std::move(top.dataset)});
    }
    stack_.pop_back();
  }

  ReadContext& context_;
  std::vector<OpenDataset> stack_;
  std::set<DatasetCacheKey> open_;
  std::set<ExternalReference> done_;
  std::vector<Dependency> resolved_;
};

/// Computes a result, whose references are cached, and puts it into the cache. Stores nothing if
/// the chain has no such output.
void cookExtRecipe(ReadContext& context, Dependency dependency, std::uint64_t size) {
  const ExternalReference& reference = dependency.reference;
  const DatasetCacheKey key = cacheKeyOf(reference);
  if (context.externalDependencyCache.find(key)) return;
  const auto [group, name] = splitDatasetPath(reference.datasetKey);
  // Quantised values have their own header and share the payload with the dataset beside them.
  const bool sharesPayload = name.ends_with(kQuantizedValuesSuffix);
  Providers inputs;
  inputs.push_back(
      sharesPayload ? context.payloadOf(group, name.substr(0, name.rfind(kQuantizedValuesSuffix)))
                    : std::move(dependency.dataset.payload));

  const ZipRecipe& zipRecipe = context.recipeOf(dependency.dataset.header);
  const ParameterBlock* parameters = nullptr;
  const bool isStoredBlock = zipRecipe.label == Labels::kStoredParameters;
  if (isStoredBlock) {
    parameters = &checkedAt(context.metadata.recipeConParams,
                            std::int64_t{dependency.dataset.header.conParamIndex} - 1);
  } else if (isDecompressionLabel(zipRecipe.label)) {
    parameters = &context.parameterBlocks.decompression(Kelbor::DataTypes::kInt32);
  } else {
    raise<std::logic_error>("Unknown (ext)recipe label: " + zipRecipe.label + "!");
  }
  Deserializer parameterStream(context.manager(), *parameters);
  if (isStoredBlock) {
    size = requirePlausibleSize(parameterStream.readU64(), size, inputs[0].get());
  }

  const auto chain = zipRecipe.recipe.buildChain(
      std::move(inputs), parameterStream,
      context.chainSettings(dependencyClasses(), size,
                            [&group = group, &name = name](const std::string& datasetKey) {
                              return resolveDatasetKey(datasetKey, group, name);
                            }));
  const Kelbor::DataProcedure& procedure = chain->getOutputProcedure(reference.outputKey);
  if (!procedure.hasOutputProvider(reference.outputIndex)) return;
  auto* output =
      dynamic_cast<Kelbor::DataProvider*>(procedure.getOutputProvider(reference.outputIndex));
  if (!output) raise<std::runtime_error>("Copying arbitrary providers is not supported!");
  {
    const Kelbor::ContentHold hold(*output);
    const Kelbor::ScopedConstDataAny run(output);
  }
  context.externalDependencyCache.insert(key, Kelbor::stealContainer(context.manager(), *output),
                                         shelfOf(context.metadata, key.datasetPath));
  ++context.cookedDatasets;
}

/// Lists the results at DEBUG. Looks up each one's step, and throws if that is missing, at every
/// log level.
void logDependencies(const SimulationMetadata& metadata, const std::vector<Dependency>& resolved,
                     const std::string& variableName) {
  getLogger().debug() << "fetchAndCacheExternalDependencies(): resolvedDeps=\n";
  const bool withPattern = variableName != kCoordinates && metadata.usesTimeDiffsOf(variableName);
  for (const auto& [reference, dataset] : resolved) {
    const PatternEntry* entry = nullptr;
    if (withPattern) {
      entry = &metadata.patternEntryOf(variableName,
                                       extractTimeStepFromVariablePath(reference.datasetKey));
    }
    const auto pattern = [&] { return entry ? "[" + toString(*entry) + "]" : std::string(); };
    getLogger().debug() << "--> " << reference.datasetKey << pattern << ":" << reference.outputKey
                        << ":" << reference.outputIndex;
  }
}

}  // namespace

void fetchAndCacheExternalDependencies(ReadContext& context, const Recipe& recipe,
                                       std::uint64_t size, const std::string& group,
                                       const std::string& name, const std::string& variableName) {
  std::vector<Dependency> resolved;
  if (hasReferences(recipe)) resolved = DependencyWalk(context).resolve(recipe, group, name);
  if (resolved.empty()) {
    getLogger().debug() << "fetchAndCacheExternalDependencies(): <none>\n";
    return;
  }
  logDependencies(context.metadata, resolved, variableName);
  for (Dependency& dependency : resolved) {
    std::string path = dependency.reference.datasetKey;
    try {
      cookExtRecipe(context, std::move(dependency), size);
    } catch (...) {
      if (context.failure.dataset.empty()) context.failure.dataset = std::move(path);
      throw;
    }
  }
}

}  // namespace morvex

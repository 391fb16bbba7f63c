#include <deque>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/read_support.hpp"

namespace morvex {

using Kelbor::checkedAt;
using Kelbor::getLogger;
using Kelbor::raise;

namespace {

constexpr std::string_view kQuantizedValuesSuffix = "_vquant";
/// Stands for the variable where coordinates are read.
constexpr std::string_view kCoordinates = "coordinates";

const ClassCreators& dependencyClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kChunkedZlibTree, ClassTags::kTreeSums, ClassTags::kChunkedZlib,
                       ClassTags::kParallelWrapper, ClassTags::kVectorSums, ClassTags::kDecoderZlib,
                       ClassTags::kDequantization});
  return creators;
}

bool isDecompressionLabel(const std::string& label) {
  if (label == Labels::kDefault || label == Labels::kTreeDiff) return true;
  for (const std::string_view ending :
       {"Extrapolation:DefaultDecompression", "Interpolation:DefaultDecompression",
        "Extrapolation:TreeDiffDecompression", "Interpolation:TreeDiffDecompression"}) {
    if (label.ends_with(ending)) return true;
  }
  return false;
}

/// A stored number of values, or std::length_error where no payload of that length could yield so
/// many, in which case it must not size anything. `hostSize` is what the host has asked for.
std::uint64_t requirePlausibleSize(std::uint64_t size, std::uint64_t hostSize,
                                   const Kelbor::DataProvider* payload) {
  // Deflate shrinks by no more than this; what needs no stream at all is allowed for beside it.
  constexpr std::uint64_t kHighestRatio = 1032;
  constexpr std::uint64_t kWithoutStream = std::uint64_t{1} << 20;
  const std::uint64_t stored = payload ? payload->getDataDimension().getNumberOfElements() : 0;
  if (size > hostSize && size - hostSize > stored * kHighestRatio + kWithoutStream) {
    raise<std::length_error>(Kelbor::kVectorTooLong);
  }
  return size;
}

DatasetCacheKey cacheKeyOf(const ExternalReference& reference) {
  return {static_cast<std::int32_t>(reference.outputIndex), reference.outputKey,
          reference.datasetKey};
}

/// A dataset whose references are being walked.
struct OpenDataset {
  /// How the dataset was asked for, with its path as key; without meaning for the first one.
  ExternalReference reference;
  StoredDataset dataset;
  const Recipe* recipe;
  std::string group;
  std::string name;
  std::size_t nextInput = 0;
};

}  // namespace

void EnsgSimulation::fetchAndCacheExternalDependencies(const Recipe& recipe, std::uint64_t size,
                                                       const std::string& group,
                                                       const std::string& name,
                                                       const std::string& variableName) {
  std::vector<Dependency> resolved = resolveDependencies(recipe, group, name);
  if (resolved.empty()) {
    getLogger().debug() << "fetchAndCacheExternalDependencies(): <none>\n";
    return;
  }
  getLogger().debug() << "fetchAndCacheExternalDependencies(): resolvedDeps=\n";
  const bool withPattern = variableName != kCoordinates && usesTimeDiffs(variableName);
  for (const auto& [reference, dataset] : resolved) {
    const PatternEntry* entry = nullptr;
    if (withPattern) {
      entry = &patternEntry(variableName, extractTimeStepFromVariablePath(reference.datasetKey));
    }
    const auto pattern = [&] { return entry ? "[" + toString(*entry) + "]" : std::string(); };
    getLogger().debug() << "--> " << reference.datasetKey << pattern << ":" << reference.outputKey
                        << ":" << reference.outputIndex;
  }
  for (Dependency& dependency : resolved) cookExtRecipe(std::move(dependency), size);
}

std::vector<EnsgSimulation::Dependency> EnsgSimulation::resolveDependencies(
    const Recipe& recipe, const std::string& group, const std::string& name) {
  std::vector<Dependency> resolved;
  std::set<DatasetCacheKey> done;
  std::set<DatasetCacheKey> open;
  std::vector<OpenDataset> stack;
  stack.push_back({{}, {}, &recipe, group, name});
  while (!stack.empty()) {
    OpenDataset& top = stack.back();
    if (top.nextInput == top.recipe->inputs.size()) {
      if (stack.size() > 1) {
        open.erase(cacheKeyOf(top.reference));
        done.insert(cacheKeyOf(top.reference));
        resolved.push_back({std::move(top.reference), std::move(top.dataset)});
      }
      stack.pop_back();
      continue;
    }
    const auto* stored = boost::get<ExternalReference>(&top.recipe->inputs[top.nextInput++]);
    if (!stored) continue;
    ExternalReference reference = *stored;
    reference.datasetKey = resolveDatasetKey(stored->datasetKey, top.group, top.name);
    const DatasetCacheKey key = cacheKeyOf(reference);
    if (done.contains(key)) continue;
    if (open.contains(key)) {
      raise<std::runtime_error>("External dependency cycle at " + reference.datasetKey);
    }
    // What is in the cache needs nothing any more.
    if (externalDependencyCache_.find(key)) continue;
    auto [dependencyGroup, dependencyName] = splitDatasetPath(reference.datasetKey);
    StoredDataset dataset = openStoredDataset(*this, dependencyGroup, dependencyName);
    const Recipe& dependency = recipeOf(dataset.header).recipe;
    open.insert(key);
    stack.push_back({std::move(reference), std::move(dataset), &dependency,
                     std::move(dependencyGroup), std::move(dependencyName)});
  }
  return resolved;
}

void EnsgSimulation::cookExtRecipe(Dependency dependency, std::uint64_t size) {
  const ExternalReference& reference = dependency.reference;
  const DatasetCacheKey key = cacheKeyOf(reference);
  if (externalDependencyCache_.find(key)) return;
  const auto [group, name] = splitDatasetPath(reference.datasetKey);
  // Quantised values have a header of their own and share the payload with the dataset beside.
  const bool sharesPayload = name.ends_with(kQuantizedValuesSuffix);
  Providers inputs;
  inputs.push_back(sharesPayload
                       ? payloadOf(group, name.substr(0, name.rfind(kQuantizedValuesSuffix)))
                       : std::move(dependency.dataset.payload));

  const ZipRecipe& zipRecipe = recipeOf(dependency.dataset.header);
  ParameterBlock builtParameters;
  const ParameterBlock* parameters = &builtParameters;
  if (isDecompressionLabel(zipRecipe.label)) {
    builtParameters = decompressionBlock(Kelbor::DataTypes::kInt32);
  } else if (zipRecipe.label == Labels::kStoredParameters) {
    parameters = &checkedAt(metadata_.recipeConParams,
                            std::int64_t{dependency.dataset.header.conParamIndex} - 1);
  } else {
    raise<std::logic_error>("Unknown (ext)recipe label: " + zipRecipe.label + "!");
  }
  Deserializer parameterStream(getContext(), *parameters);
  if (parameters != &builtParameters) {
    size = requirePlausibleSize(parameterStream.readU64(), size, inputs[0].get());
  }

  const auto chain =
      buildChain(zipRecipe.recipe, std::move(inputs), parameterStream,
                 {.context = getContext(),
                  .classCreators = dependencyClasses(),
                  .factories = factories_,
                  .sizes = {&size, 1},
                  .cache = externalDependencyCache_,
                  .keyMapper = [&, &group = group, &name = name](const std::string& datasetKey) {
                    return resolveDatasetKey(datasetKey, group, name);
                  }});
  const Kelbor::DataProcedure& procedure = chain->getOutputProcedure(reference.outputKey);
  if (!procedure.hasOutputProvider(reference.outputIndex)) return;
  auto* output =
      dynamic_cast<Kelbor::DataProvider*>(procedure.getOutputProvider(reference.outputIndex));
  if (!output) raise<std::runtime_error>("Copying arbitrary providers is not supported!");
  {
    const Kelbor::ContentHold hold(*output);
    const Kelbor::ScopedConstDataAny run(output);
  }
  externalDependencyCache_.insert(key, Kelbor::stealContainer(getContext(), *output));
  ++cookedDatasets_;
}

}  // namespace morvex

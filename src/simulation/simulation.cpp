#include "simulation/simulation.hpp"

#include <algorithm>

#include "simulation/dataset_path.hpp"
#include "simulation/read_support.hpp"

namespace morvex {

using Kelbor::checkedAt;

EnsgSimulation::EnsgSimulation(Kelbor::DataManager* context, const std::string& filePath,
                               bool keepUnloaded)
    : SdfFile(context, filePath, /*writable=*/keepUnloaded, /*flavour=*/"", /*compress=*/false) {
  if (!keepUnloaded) metadata_ = loadMetadata(*this);
}

const GeometryMetadata& EnsgSimulation::bulkState(std::int32_t geometry,
                                                  std::int32_t timestep) const {
  const auto& states = checkedAt(metadata_.geometryMetaData, geometry);
  const auto& changeTypes = metadata_.caseMetaData.geometryChangeTypes;
  if (checkedAt(changeTypes, geometry) == GeometryChange::kCoordinates && !states.empty()) {
    timestep = std::min(timestep, static_cast<std::int32_t>(states.size() - 1));
  }
  return checkedAt(states, timestep);
}

const ZipRecipe& EnsgSimulation::recipeOf(const DatasetHeader& header) const {
  return checkedAt(metadata_.recipes, header.recipeIndex);
}

std::unique_ptr<Kelbor::DataProvider> EnsgSimulation::payloadOf(const std::string& group,
                                                                const std::string& name) {
  return getDataProvider(group, name, 0, sizeof(DatasetHeader));
}

std::unique_ptr<Kelbor::DataProvider> EnsgSimulation::optionalDataset(const std::string& group,
                                                                      const std::string& name) {
  auto provider = getDataProvider(group, name, 0, 0);
  if (provider && provider->getDataDimension().getNumberOfElements() == 0) provider.reset();
  return provider;
}

EnsgSimulation::Providers EnsgSimulation::quantizedInputs(
    std::unique_ptr<Kelbor::DataProvider> payload, const std::string& group,
    const std::string& name) {
  Providers inputs;
  inputs.push_back(std::move(payload));
  inputs.push_back(optionalDataset(group, name + "_op"));
  inputs.push_back(optionalDataset(group, name + "_ov"));
  return inputs;
}

std::unique_ptr<Kelbor::BranchedChain> EnsgSimulation::makeChain(
    const Recipe& recipe, Providers inputs, const ParameterBlock& parameters,
    const ClassCreators& classCreators, std::uint64_t size, KeyMapper keyMapper) {
  return buildChain(recipe, std::move(inputs), Deserializer(getContext(), parameters),
                    {.context = getContext(),
                     .classCreators = classCreators,
                     .factories = factories_,
                     .sizes = {&size, 1},
                     .cache = externalDependencyCache_,
                     .keyMapper = std::move(keyMapper)});
}

std::unique_ptr<Kelbor::BranchedChain> EnsgSimulation::pullFloats(
    const Recipe& recipe, std::unique_ptr<Kelbor::DataProvider> payload, const std::string& group,
    const std::string& name, const ParameterBlock& parameters, const ClassCreators& classCreators,
    std::string_view outputKey, FloatBuffer buffer, bool rawWords) {
  auto chain =
      makeChain(recipe, quantizedInputs(std::move(payload), group, name), parameters, classCreators,
                static_cast<std::uint64_t>(buffer.size),
                [&](const std::string& key) { return resolveDatasetKey(key, group, name); });
  if (rawWords) {
    pullInto<std::int32_t>(*chain, outputKey, buffer);
  } else {
    pullInto<float>(*chain, outputKey, buffer);
  }
  return chain;
}

bool EnsgSimulation::readFloatsFromStorage(const std::string& path, FloatBuffer buffer,
                                           bool rawWords, const char* mismatch) {
  return rawWords ? readFromStorage<std::uint32_t>(path, buffer, mismatch)
                  : readFromStorage<float>(path, buffer, mismatch);
}

void EnsgSimulation::keepFloats(const std::string& path, FloatBuffer buffer, bool rawWords) {
  keepInStorage(path, rawWords ? Kelbor::DataTypes::kInt32 : Kelbor::DataTypes::kFloat, buffer);
}

}  // namespace morvex

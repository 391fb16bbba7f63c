#include "writer/dataset_encoder.hpp"

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>

namespace morvex::Writer {
namespace {

using Kind = Quantisation::Kind;

constexpr std::int32_t kInt32Code = 6;
constexpr std::int32_t kUInt64Code = 9;

constexpr const char* kEdgeListSuffix = "EdgeList";
constexpr const char* kTreeStartsSuffix = "TreeStarts";

std::string text(std::integral auto number) {
  return std::to_string(number);
}

std::string datasetName(const ValueKey& key) {
  const std::string type = key.elementType < 0 ? "" : text(key.elementType) + "_";
  return type + text(key.component) + (key.imaginary ? "_data_imag" : "_data");
}

std::string variableGroup(const std::string& name, int step, int part) {
  return "/variable/" + name + "/" + text(step) + "/" + text(part) + "/";
}

/// A recipe whose result "Uncompressed" is the dataset's own values.
RecipeBuilder plainRecipe(const char* label = "DefaultDecompression") {
  return valueRecipe({.label = label});
}

/// Largest absolute coordinate of each node.
std::vector<float> magnitudesOf(const PartState& state) {
  std::vector<float> result(state.nodes[0].size());
  for (const auto& axis : state.nodes) {
    for (std::size_t i = 0; i < result.size(); ++i) {
      result[i] = std::max(result[i], std::abs(axis.at(i)));
    }
  }
  return result;
}

}  // namespace

double largestMagnitude(const VariableBuilder& variable) {
  double largest = 0.0;
  for (const auto& [key, values] : variable.values) {
    for (const float value : values) {
      if (std::isfinite(value)) largest = std::max(largest, std::abs(double{value}));
    }
  }
  return largest;
}

void DatasetEncoder::put(const std::string& path, const RecipeBuilder& recipe, const Bytes& payload,
                         std::int32_t parameters) {
  // Equal recipes share a number.
  const auto [number, isNew] = recipeNumbers_.try_emplace(
      {recipe.label(), recipe.block()}, static_cast<std::int32_t>(recipes_.size()));
  if (isNew) recipes_.push_back(recipe);
  image_[path] = ByteWriter().i32(number->second).i32(parameters).raw(payload).take();
}

template <class T>
Bytes DatasetEncoder::rowPayload(const std::vector<T>& values) const {
  return chunkedStream(std::span<const T>(values), Chaining::kDifferences,
                       {.tableChunks = file_.tableChunks_});
}

template <class T>
void DatasetEncoder::putWithParameters(const std::string& path, const std::vector<T>& values,
                                       std::int32_t dataType) {
  const Bytes block = storedParameters(values.size(), dataType);
  const auto [number, isNew] =
      // Datasets count parameter blocks from 1; 0 means none.
      parameterNumbers_.try_emplace(block, static_cast<std::int32_t>(parameters_.size() + 1));
  if (isNew) parameters_.push_back(block);
  put(path, plainRecipe(kStoredParametersLabel), rowPayload(values), number->second);
}

void DatasetEncoder::putOutliers(const std::string& path, const Quantised& quantised) {
  if (quantised.outlierPositions.empty()) return;
  image_[path + "_op"] = plainStream(quantised.outlierPositions);
  image_[path + "_ov"] = plainStream(quantised.outlierValues);
}

void DatasetEncoder::putExponents(const std::string& path, const ExponentTable& table) {
  putWithParameters(path, table.words(), kInt32Code);
}

void DatasetEncoder::putForest(const std::string& prefix, std::uint64_t places,
                               const Forest& forest) {
  const auto [known, isNew] = forests_.try_emplace(prefix, places);
  if (!isNew) {
    if (known->second != places) throw std::logic_error("One forest can't span different sizes");
    return;
  }
  putWithParameters(prefix + kEdgeListSuffix, forest.edges, kInt32Code);
  putWithParameters(prefix + kTreeStartsSuffix, forest.starts, kUInt64Code);
}

void DatasetEncoder::encodeGeometries() {
  for (std::size_t g = 0; g < file_.geometries_.size(); ++g) {
    const Geometry& geometry = file_.geometries_[g];
    const std::size_t steps = geometry.exists ? file_.coordinateSteps(geometry) : 0;
    for (std::size_t step = 0; step < steps; ++step) {
      for (std::size_t p = 0; p < geometry.parts.size(); ++p) {
        const PartBuilder& part = *geometry.parts[p];
        if (step >= part.states.size()) throw std::logic_error("Part lacks a step: " + part.name);
        const PartState& state = part.states[step];
        const std::string group = "/geometry/" + text(g) + "/" + text(step) + "/" + text(p) + "/";
        encodeCoordinates(group, part, geometry.quantisation, state);
        if (g == 0) encodeElements(group, state);
      }
    }
  }
}

void DatasetEncoder::encodeCoordinates(const std::string& group, const PartBuilder& part,
                                       const Quantisation& how, const PartState& state) {
  const bool isAdaptive = how.kind == Kind::kAdaptiveShift;
  // Readers take the coordinates of blocks as raw words, whatever the model's precision.
  const bool isExact =
      how.kind == Kind::kExact || part.type != 0 || (isAdaptive && !part.isAdaptive);
  ExponentTable table;
  if (isAdaptive && !isExact) {
    table = shiftTable(magnitudesOf(state), how.parameter);
    putExponents(group + "coordinates_qe", table);  // of all three axes
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::string path = group + "coordinates_" + text(axis);
    const std::span<const float> values = state.nodes[axis];
    if (isExact) {
      put(path, plainRecipe(), rowPayload(bitsOf(values)));
      continue;
    }
    const Quantised quantised =
        isAdaptive ? quantise(values, table.steps()) : quantise(values, how.parameter);
    ValueRecipe recipe{.label = isAdaptive ? "adapt_shift" : "abs_uniform", .dequantise = true};
    if (isAdaptive) recipe.exponentsKey = "coordinates_qe";
    put(path, valueRecipe(recipe), rowPayload(quantised.words));
    putOutliers(path, quantised);
  }
}

void DatasetEncoder::encodeConnectivity(const std::string& path, const Connectivity& connectivity) {
  if (connectivity.ids == Ids::kDifferences) {
    put(path, plainRecipe(), rowPayload(connectivity.nodes));
    return;
  }
  const IdWindowPayloads payloads = idWindowPayloads(connectivity.nodes, file_.tableChunks_);
  put(path, idWindowRecipe(), payloads.references);
  put(path + "_notreused", idWindowRecipe(), payloads.newIds);
}

void DatasetEncoder::encodeElements(const std::string& group, const PartState& state) {
  for (const auto& [type, connectivity] : state.elements) {
    encodeConnectivity(group + text(type) + "_elementnodeids", connectivity);
  }
  if (!state.nsidedNodes.empty()) {
    put(group + "nsidednumberofnodes", plainRecipe(), rowPayload(state.nsidedNodes));
    encodeConnectivity(group + "30_elementnodeids", state.nsided);
  }
  if (!state.nfacedFaces.empty()) {
    put(group + "nfacedfacessize", plainRecipe(), rowPayload(state.nfacedFaces));
    put(group + "nfacedfacesnodessize", plainRecipe(), rowPayload(state.nfacedFaceNodes));
    encodeConnectivity(group + "32_elementnodeids", state.nfaced);
  }
  for (const auto& [type, faces] : state.borderFaces) {
    encodeConnectivity(group + text(type) + "_bfs", faces.connectivity);
    put(group + text(type) + "_bfspi", plainRecipe(), rowPayload(faces.parentIds));
    put(group + text(type) + "_bfspt", plainRecipe(), rowPayload(faces.parentTypes));
  }
}

void DatasetEncoder::encodeVariables() {
  for (const auto& variable : file_.variables_) {
    std::map<ValueKey, Series> seriesByKey;
    for (const auto& [key, values] : variable->values) {
      ValueKey ofSeries = key;  // one key for all steps
      ofSeries.step = 0;
      seriesByKey[ofSeries].emplace(key.step, &values);
    }
    for (const auto& [key, series] : seriesByKey) encodeSeries(*variable, key, series);
  }
}

Bytes DatasetEncoder::spatialPayload(ValueRecipe& recipe, const VariableBuilder& variable,
                                     const ValueKey& key, const Words& words) {
  if (!variable.isAlongForest) return rowPayload(words);
  const Forest forest = forestOf(words.size());
  // Readers replace the fourth component by the part, and "<e>" by the number at the start of the
  // dataset's name: the element type, or the component of values per node.
  const std::string name = variable.location == Location::kPerNode ? "_node" : "_element";
  const int number = variable.location == Location::kPerNode ? key.component : key.elementType;
  const std::string root = "/geometry/" + text(variable.geometryIndex) + "/0/";
  putForest(root + text(key.part) + "/" + text(number) + name, words.size(), forest);
  recipe.edgeListKey = root + "<p>/<e>" + name + kEdgeListSuffix;
  recipe.treeStartsKey = root + "<p>/<e>" + name + kTreeStartsSuffix;
  return chunkedStream(std::span<const std::int32_t>(differencesAlong(forest, words)),
                       Chaining::kNone, {.tableChunks = file_.tableChunks_});
}

void DatasetEncoder::encodeSeries(const VariableBuilder& variable, const ValueKey& key,
                                  const Series& series) {
  const Quantisation& how = variable.quantisation;
  const bool isExact = how.kind == Kind::kExact;
  const bool isAdaptive = how.kind == Kind::kAdaptiveExponent;
  // In time differences a step refers to the integers of others, which need a dataset of their own.
  const bool isSplit = !isExact && (variable.isSplit || variable.usesTimeDifferences);
  if (how.kind == Kind::kAdaptiveShift || (isAdaptive && isSplit)) {
    throw std::logic_error("No recipe stores variable " + variable.name + " that way");
  }
  const double step = how.kind == Kind::kRelative
                          ? relativeStep(how.parameter, largestMagnitude(variable))
                          : how.parameter;
  const auto steps = static_cast<std::int32_t>(file_.stepsOf(variable.timeset));

  // Quantised first, subtracted then: differences of integers are exact, and errors don't add up
  // over the steps.
  std::map<int, Quantised> quantised;
  std::map<int, ExponentTable> tables;
  for (const auto& [at, values] : series) {
    if (isExact) {
      quantised[at].words = bitsOf(*values);
    } else if (isAdaptive) {
      tables[at] = exponentTable(*values, how.parameter);
      quantised[at] = quantise(*values, tables[at].steps());
    } else {
      quantised[at] = quantise(*values, step);
    }
  }

  for (const auto& [at, values] : series) {
    const std::string path = variableGroup(variable.name, at, key.part) + datasetName(key);
    ValueRecipe integers;
    Words words = quantised[at].words;
    std::vector<std::int32_t> references;
    if (variable.usesTimeDifferences) {
      references =
          timeReferences(at, steps, static_cast<std::int32_t>(file_.timeDifferences_.blockSize),
                         static_cast<std::int32_t>(file_.timeDifferences_.maxDepth));
    }
    for (const std::int32_t distance : references) {
      if (!quantised.contains(at + distance)) throw std::logic_error("A series lacks a step");
      integers.timeReferences.push_back(timeReferenceKey(distance));
    }
    if (references.size() == 1) {
      words = differencesTo(words, quantised[at + references[0]].words);
    } else if (references.size() == 2) {
      words = differencesTo(words, quantised[at + references[0]].words,
                            quantised[at + references[1]].words);
    }
    const Bytes payload = spatialPayload(integers, variable, key, words);

    if (isExact) {
      put(path, valueRecipe(integers), payload);
      continue;
    }
    const std::string chaining =
        variable.isAlongForest ? "TreeDiffDecompression" : "DefaultDecompression";
    ValueRecipe values32 = integers;
    values32.dequantise = true;
    if (isSplit) {
      // The label has one of three forms, by the number of steps that this one refers to.
      const char* kinds[] = {"", "abs_uniform-Extrapolation:", "abs_uniform-Interpolation:"};
      integers.label = kinds[references.size()] + chaining;
      // Recipe and header alone: readers take the payload of `path`.
      put(path + "_vquant", valueRecipe(integers), {});
      values32.label = "abs_uniform";
      values32.split = true;
    } else if (isAdaptive) {
      values32.label = "linadapt_exponent";
      values32.exponentsKey = "_qe";
      putExponents(path + "_qe", tables[at]);
    } else {
      values32.label =
          variable.isAlongForest ? "abs_uniform-NONSPLIT-TRDIFF" : "abs_uniform-NONSPLIT";
    }
    put(path, valueRecipe(values32), payload);
    putOutliers(path, quantised[at]);
  }
}

}  // namespace morvex::Writer

#include "writer/record_assembler.hpp"

#include <algorithm>
#include <cmath>

#include "writer/dataset_encoder.hpp"
#include "writer/element_shapes.hpp"

namespace morvex::Writer {
namespace {

void widen(StoredBox& box, const PartState& state) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const float value : state.nodes[axis]) {
      box[axis] = std::min(box[axis], value);
      box[axis + 3] = std::max(box[axis + 3], value);
    }
  }
}

PrecisionSetting settingOf(const Quantisation& how) {
  const double p = how.parameter;
  switch (how.kind) {
    case Quantisation::Kind::kRelative:
      return {QuantizationType::RelativeQuantization, {p}};
    case Quantisation::Kind::kAdaptiveShift:
      return {QuantizationType::AdaptiveShiftQuantization, {p, 0.0, 0.0, 0.0}};
    case Quantisation::Kind::kAdaptiveExponent:
      return {QuantizationType::AdaptiveExponentQuantization, {p, 0.0, 0.0, 0.0}};
    default:
      return {QuantizationType::UniformQuantization, {p}};
  }
}

}  // namespace

/// Kinds are written in the order model, particles: particles alone still leave an empty model.
std::size_t RecordAssembler::geometryCount() const {
  if (file_.geometries_[1].exists) return 2;
  return file_.geometries_[0].exists ? 1 : 0;
}

void RecordAssembler::assemble(std::span<const RecipeBuilder> recipes,
                               std::span<const Bytes> parameters) {
  image_["/kelbor/version"] = versionBytes(file_.requiredVersion);
  assembleCase();
  assembleGeometries();
  assembleVariables();
  assemblePrecisions();
  for (std::size_t i = 0; i < file_.timeSets_.size(); ++i) {
    image_["/timesets/ts_" + std::to_string(i)] = timeSetBytes(file_.timeSets_[i]);
  }
  for (std::size_t i = 0; i < file_.fileSets_.size(); ++i) {
    image_["/filesets/fs_" + std::to_string(i)] = fileSetBytes(file_.fileSets_[i]);
  }
  if (!file_.octrees.empty()) image_["/kelbor/octreemetadata"] = octreeBytes(file_.octrees);
  if (file_.timeDifferences_.blockSize != 0) {
    image_["/kelbor/timediffsmd"] = timeDifferenceBytes(file_.timeDifferences_);
  }
  image_["/kelbor/recipes"] = recipeListBytes(recipes);
  if (!parameters.empty()) image_["/kelbor/recipe_con_params"] = parameterListBytes(parameters);
}

void RecordAssembler::assembleCase() {
  CaseMetaData record;
  record.title = file_.title;
  record.numGeometries = geometryCount();
  record.numTimesets = file_.timeSets_.size();
  record.numFilesets = file_.fileSets_.size();
  record.numVariables = file_.variables_.size();
  record.nameWidth = file_.nameWidth;
  record.caseText = "written by tests";  // readers keep it and use it for nothing
  StoredBox box = kInvertedBox;
  for (std::size_t g = 0; g < record.numGeometries; ++g) {
    const Geometry& geometry = file_.geometries_[g];
    record.geometryKinds.push_back(static_cast<std::uint8_t>(g));
    record.geometryChangeTypes.push_back(geometry.change);
    record.geometryTimesets.push_back(geometry.timeset);
    record.geometryExtra.push_back(0);
    record.geometryTexts.emplace_back(g == 0 ? "model" : "particles");
    for (const auto& part : geometry.parts) {
      for (const PartState& state : part->states) widen(box, state);
    }
  }
  for (const TimeSet& set : file_.timeSets_) {
    record.timesetStepCounts.push_back(static_cast<std::uint32_t>(set.numberOfSteps()));
  }
  image_["/kelbor/casemetadata"] = caseBytes(record, box);
}

GeometryMetadata RecordAssembler::stateOf(const Geometry& geometry, std::size_t index) const {
  GeometryMetadata record;
  const bool isAdaptive = geometry.quantisation.kind == Quantisation::Kind::kAdaptiveShift;
  for (const auto& part : geometry.parts) {
    const PartState& state = part->states.at(index);
    record.partIds.push_back(part->id);
    record.partTypes.push_back(part->type);
    record.partNames.push_back(part->name);
    record.numNodes.push_back(state.nodes[0].size());
    record.nfacedConnectivitySize.push_back(state.nfaced.nodes.size());
    record.nfacedNodesPerFaceSize.push_back(state.nfacedFaceNodes.size());
    record.nsidedConnectivitySize.push_back(state.nsided.nodes.size());
    ElementCounts& elements = record.elementCounts.emplace_back();
    for (const auto& [type, connectivity] : state.elements) {
      elements.at(static_cast<std::size_t>(type)) = elementsIn(type, connectivity.nodes.size());
    }
    elements[kNSidedType] = static_cast<std::uint32_t>(state.nsidedNodes.size());
    elements[kNFacedType] = static_cast<std::uint32_t>(state.nfacedFaces.size());
    elements[kNSidedType + 1] = state.ghostsWithoutNodes[0];
    elements[kNFacedType + 1] = state.ghostsWithoutNodes[1];
    ElementCounts& faces = record.borderFaceCounts.emplace_back();
    for (const auto& [type, border] : state.borderFaces) {
      faces.at(static_cast<std::size_t>(type)) =
          static_cast<std::uint32_t>(border.parentIds.size());
    }
    record.blockInfo.push_back(part->blockInfo);
    record.coordinatesAdaptive.push_back(isAdaptive && part->isAdaptive && part->type == 0);
  }
  const std::size_t n = geometry.parts.size();
  record.numParts = n;
  record.partValues.assign(n, 0);
  record.partFlagsA.assign(n, false);
  record.partValuesB.assign(n, 0);
  record.partFlagsC.assign(n, false);
  return record;
}

void RecordAssembler::assembleGeometries() {
  std::vector<std::vector<GeometryMetadata>> states;
  for (std::size_t g = 0; g < geometryCount(); ++g) {
    const Geometry& geometry = file_.geometries_[g];
    const bool changes = geometry.change == GeometryChange::kConnectivity;
    const std::size_t count = changes ? file_.stepsOf(geometry.timeset) : 1;
    auto& list = states.emplace_back();
    for (std::size_t s = 0; s < count; ++s) list.push_back(stateOf(geometry, s));
  }
  image_["/kelbor/geometrymetadata"] = geometryBytes(states, file_.nameWidth);
  if (!file_.hasBoxesPerStep) return;

  const Geometry& model = file_.geometries_[0];
  std::vector<StoredBox> boxes;
  for (std::size_t s = 0; s < file_.coordinateSteps(model); ++s) {
    StoredBox& box = boxes.emplace_back(kInvertedBox);
    for (const auto& part : model.parts) widen(box, part->states.at(s));
  }
  // Readers keep one box for each stored state and skip the rest.
  if (model.change != GeometryChange::kConnectivity) boxes.resize(1);
  image_["/kelbor/metadatapertimestep"] = boxBytes(boxes);
}

void RecordAssembler::assembleVariables() {
  VariableMetaData record;
  for (const auto& variable : file_.variables_) {
    record.names.push_back(variable->name);
    record.types.push_back(variable->type);
    record.locations.push_back(static_cast<std::uint32_t>(variable->location));
    record.complexFlags.push_back(variable->isComplex ? 1 : 0);
    record.frequencies.push_back(variable->frequency);
    record.timesets.push_back(variable->timeset);
    record.geometryIndices.push_back(variable->geometryIndex);
    record.descriptions.push_back(variable->description);
    record.imaginaryDescriptions.push_back(variable->imaginaryDescription);
    record.constantFlags.push_back(variable->isConstant ? 1 : 0);
    record.constantValues.push_back(variable->constants);
    record.imaginaryConstantValues.emplace_back();
    std::vector<bool> defined(file_.geometries_[variable->geometryIndex].parts.size());
    // One step or component is enough: readers ask for parts, not for steps.
    for (const auto& [key, values] : variable->values) {
      defined.at(static_cast<std::size_t>(key.part)) = true;
    }
    record.definedOnPart.push_back(std::move(defined));
    record.dataTypes.push_back(0);
    record.usesTimeDiffs.push_back(variable->usesTimeDifferences);
    record.datasetNames.push_back(variable->name);
  }
  image_["/kelbor/variablemetadata"] =
      variableBytes(record, file_.nameWidth, file_.variableRecordVersion);
}

void RecordAssembler::assemblePrecisions() {
  std::vector<PrecisionEntry> entries = file_.precisions_;
  const auto add = [&entries](const std::string& key, const Quantisation& how) {
    // Where no entry matches, readers take a step of 0, which is exact.
    if (how.kind != Quantisation::Kind::kExact) entries.push_back({key, settingOf(how)});
  };
  add("coordinates", file_.geometries_[0].quantisation);
  add("mcoordinates", file_.geometries_[1].quantisation);
  std::vector<double> maxValues;
  for (const auto& variable : file_.variables_) {
    if (variable->hasOwnSetting) add(variable->name, variable->quantisation);
    maxValues.push_back(largestMagnitude(*variable));
  }
  image_["/kelbor/precisions"] = precisionBytes(entries, maxValues);
}

}  // namespace morvex::Writer

#include "writer/result_file.hpp"

#include <stdexcept>
#include <utility>

#include "writer/dataset_encoder.hpp"
#include "writer/record_assembler.hpp"

namespace morvex::Writer {

PartState& PartBuilder::state(int step) {
  const auto index = static_cast<std::size_t>(step);
  if (states.size() <= index) states.resize(index + 1);
  return states[index];
}

PartBuilder& PartBuilder::nodes(std::vector<float> x, std::vector<float> y, std::vector<float> z,
                                int step) {
  state(step).nodes = {std::move(x), std::move(y), std::move(z)};
  return *this;
}

PartBuilder& PartBuilder::elements(int elementType, std::vector<std::int32_t> connectivity, Ids ids,
                                   int step) {
  state(step).elements[elementType] = {std::move(connectivity), ids};
  return *this;
}

PartBuilder& PartBuilder::nsided(std::vector<std::int32_t> nodesPerElement,
                                 std::vector<std::int32_t> connectivity, Ids ids, int step) {
  state(step).nsidedNodes = std::move(nodesPerElement);
  state(step).nsided = {std::move(connectivity), ids};
  return *this;
}

PartBuilder& PartBuilder::nfaced(std::vector<std::int32_t> facesPerElement,
                                 std::vector<std::int32_t> nodesPerFace,
                                 std::vector<std::int32_t> connectivity, Ids ids, int step) {
  state(step).nfacedFaces = std::move(facesPerElement);
  state(step).nfacedFaceNodes = std::move(nodesPerFace);
  state(step).nfaced = {std::move(connectivity), ids};
  return *this;
}

PartBuilder& PartBuilder::ghostsWithoutNodes(std::uint32_t nsidedCount, std::uint32_t nfacedCount,
                                             int step) {
  state(step).ghostsWithoutNodes = {nsidedCount, nfacedCount};
  return *this;
}

PartBuilder& PartBuilder::borderFaces(int elementType, BorderFaces faces, int step) {
  state(step).borderFaces[elementType] = std::move(faces);
  return *this;
}

PartBuilder& PartBuilder::block(const std::array<std::uint32_t, 4>& info, std::uint32_t partType) {
  type = partType;
  blockInfo = info;
  return *this;
}

PartBuilder& PartBuilder::notAdaptive() {
  isAdaptive = false;
  return *this;
}

VariableBuilder& VariableBuilder::set(const ValueKey& key, std::vector<float> newValues) {
  values[key] = std::move(newValues);
  return *this;
}

VariableBuilder& VariableBuilder::describe(std::string text) {
  description = std::move(text);
  return *this;
}

VariableBuilder& VariableBuilder::complex(std::string imaginaryText, float ofFrequency) {
  isComplex = true;
  imaginaryDescription = std::move(imaginaryText);
  frequency = ofFrequency;
  return *this;
}

VariableBuilder& VariableBuilder::onTimeSet(std::uint32_t index) {
  timeset = index;
  return *this;
}

VariableBuilder& VariableBuilder::onParticles() {
  geometryIndex = 1;
  return *this;
}

VariableBuilder& VariableBuilder::constant(std::vector<float> valuesOfSteps) {
  isConstant = true;
  constants = std::move(valuesOfSteps);
  return *this;
}

VariableBuilder& VariableBuilder::quantised(const Quantisation& how, bool ownSetting) {
  quantisation = how;
  hasOwnSetting = ownSetting;
  return *this;
}

VariableBuilder& VariableBuilder::split() {
  isSplit = true;
  return *this;
}

VariableBuilder& VariableBuilder::alongForest() {
  isAlongForest = true;
  return *this;
}

VariableBuilder& VariableBuilder::timeDifferences() {
  usesTimeDifferences = true;
  return *this;
}

PartBuilder& ResultFileBuilder::part(std::string name) {
  Geometry& model = geometries_[0];
  model.exists = true;
  const auto id = static_cast<std::uint32_t>(model.parts.size() + 1);  // from 1, unlike the index
  return *model.parts.emplace_back(std::make_unique<PartBuilder>(std::move(name), id));
}

PartBuilder& ResultFileBuilder::particles() {
  Geometry& measured = geometries_[1];
  measured.exists = true;
  if (measured.parts.empty()) {
    measured.parts.push_back(std::make_unique<PartBuilder>("particles", 1));
  }
  return *measured.parts.front();
}

VariableBuilder& ResultFileBuilder::variable(std::string name, Location location,
                                             std::uint32_t type) {
  return *variables_.emplace_back(
      std::make_unique<VariableBuilder>(std::move(name), location, type));
}

std::uint32_t ResultFileBuilder::timeSet(std::vector<float> times) {
  const auto index = static_cast<std::uint32_t>(timeSets_.size());
  const auto steps = static_cast<std::int32_t>(times.size());
  timeSets_.emplace_back(index + 1, index, steps, /*filenameStart=*/0, /*filenameIncrement=*/1,
                         std::vector<std::uint32_t>{}, "time set", std::move(times));
  return index;
}

ResultFileBuilder& ResultFileBuilder::timeSet(TimeSet set) {
  timeSets_.push_back(std::move(set));
  return *this;
}

ResultFileBuilder& ResultFileBuilder::fileSet(FileSet set) {
  fileSets_.push_back(std::move(set));
  return *this;
}

ResultFileBuilder& ResultFileBuilder::modelChanges(std::uint8_t change, std::uint32_t timeset) {
  geometries_[0].change = change;
  geometries_[0].timeset = timeset;
  hasBoxesPerStep = change != GeometryChange::kStatic;
  return *this;
}

ResultFileBuilder& ResultFileBuilder::particlesChange(std::uint8_t change, std::uint32_t timeset) {
  geometries_[1].change = change;
  geometries_[1].timeset = timeset;
  return *this;
}

ResultFileBuilder& ResultFileBuilder::coordinates(const Quantisation& how) {
  geometries_[0].quantisation = how;
  return *this;
}

ResultFileBuilder& ResultFileBuilder::particleCoordinates(const Quantisation& how) {
  geometries_[1].quantisation = how;
  return *this;
}

ResultFileBuilder& ResultFileBuilder::precision(std::string key, PrecisionSetting setting) {
  precisions_.push_back({std::move(key), std::move(setting)});
  return *this;
}

ResultFileBuilder& ResultFileBuilder::timeBlocks(std::uint32_t blockSize, std::uint32_t maxDepth) {
  timeDifferences_ = {blockSize, maxDepth};
  return *this;
}

ResultFileBuilder& ResultFileBuilder::tableChunks(std::uint64_t count) {
  tableChunks_ = count;
  return *this;
}

std::int32_t ResultFileBuilder::addRecipe(const RecipeBuilder& recipe) {
  recipes_.push_back(recipe);  // counted from 0, parameters from 1
  return static_cast<std::int32_t>(recipes_.size() - 1);
}

std::int32_t ResultFileBuilder::addParameters(const Bytes& block) {
  parameters_.push_back(block);
  return static_cast<std::int32_t>(parameters_.size());
}

std::size_t ResultFileBuilder::stepsOf(std::uint32_t timeset) const {
  if (timeset == kNoTimeset) return 1;  // step 0
  if (timeset >= timeSets_.size()) throw std::logic_error("No such time set");
  return timeSets_[timeset].timeValues().size();
}

std::size_t ResultFileBuilder::coordinateSteps(const Geometry& geometry) const {
  return geometry.change == GeometryChange::kStatic ? 1 : stepsOf(geometry.timeset);
}

ResultImage ResultFileBuilder::image() const {
  ResultImage image;
  // Datasets first: the records list the recipes and parameters that they turn out to need.
  DatasetEncoder encoder(*this, image);
  encoder.encodeGeometries();
  encoder.encodeVariables();
  RecordAssembler(*this, image).assemble(encoder.recipes(), encoder.parameters());
  return image;
}

void ResultFileBuilder::write(const std::string& path, bool deflateRecords) const {
  image().write(path, deflateRecords);
}

}  // namespace morvex::Writer

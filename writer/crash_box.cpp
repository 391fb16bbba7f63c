#include "writer/crash_box.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "writer/element_shapes.hpp"

namespace morvex::Writer {
namespace {

// Lengths in mm.
constexpr double kTubeWidth = 80.0;
constexpr double kTubeHeight = 300.0;
constexpr double kLargestCrush = 0.6;  // of the tube's height
constexpr double kFolds = 6.0;
constexpr double kFoldDepth = 9.0;
constexpr double kBlockWidth = 120.0;
constexpr double kBlockHeight = 60.0;
constexpr double kPlateWidth = 200.0;

constexpr int kTriangles = 6;
constexpr int kQuads = 10;
constexpr int kHexahedra = 26;

constexpr std::size_t kParticles = 25;

// How coarsely values are stored, in their units; stress by relative error, temperature in per cent
// of the largest.
constexpr double kCoordinateStep = 0.005;
constexpr double kDisplacementStep = 0.01;
constexpr double kStrainStep = 1e-4;
constexpr double kStressError = 1e-3;
constexpr double kTemperaturePercent = 0.01;
constexpr double kSpeedStep = 0.1;

/// Place on a square of side 1 around the origin at `around` of its circumference.
std::array<double, 2> onSquare(double around) {
  const double side = around * 4.0;
  const double along = side - std::floor(side) - 0.5;
  switch (static_cast<int>(side) % 4) {
    case 0:
      return {along, -0.5};
    case 1:
      return {0.5, along};
    case 2:
      return {-along, 0.5};
    default:
      return {-0.5, -along};
  }
}

float asFloat(double value) {
  return static_cast<float>(value);
}

}  // namespace

CrashBox::CrashBox(const Options& options)
    : steps_(std::max(options.steps, 1)), tableChunks_(options.tableChunks) {
  const double nodes = std::max(options.nodes, 100U);
  // Shares of the nodes: shells, solids and the flat plate compress differently.
  makeTube(0.6 * nodes);
  makeBlock(0.3 * nodes);
  makePlate(0.1 * nodes);
  // The relative step of the temperature depends on its largest value.
  for (const ValueKey& key : keys(kTemperature)) {
    for (const float value : values(kTemperature, key)) {
      largestTemperature_ = std::max(largestTemperature_, std::abs(double{value}));
    }
  }
}

void CrashBox::makeTube(double nodes) {
  // Nodes around, a multiple of 4 so that the corners get one each; about 1.5 times as many rows.
  const auto around = 4 * std::max(static_cast<int>(std::sqrt(nodes / 1.5) / 4.0), 2);
  const int rows = std::max(static_cast<int>(nodes) / around, 2);
  for (int row = 0; row < rows; ++row) {
    for (int i = 0; i < around; ++i) {
      Node node;
      node.around = static_cast<double>(i) / around;
      node.along = static_cast<double>(row) / (rows - 1);
      const auto [x, y] = onSquare(node.around);
      node.position = {kTubeWidth * x, kTubeWidth * y, kTubeHeight * node.along};
      nodes_[kTube].push_back(node);
      if (row == 0) continue;
      const int next = (i + 1) % around;
      const int below = (row - 1) * around + 1;
      auto& quads = elements_[kTube][kQuads];
      quads.insert(quads.end(),
                   {below + i, below + next, below + around + next, below + around + i});
    }
  }
}

void CrashBox::makeBlock(double nodes) {
  const int side = std::max(static_cast<int>(std::cbrt(nodes)), 3);
  // Node numbers count from 1.
  const auto at = [side](int i, int j, int k) { return (k * side + j) * side + i + 1; };
  for (int k = 0; k < side; ++k) {
    for (int j = 0; j < side; ++j) {
      for (int i = 0; i < side; ++i) {
        const double scale = 1.0 / (side - 1);
        Node node;
        node.around = i * scale;
        node.along = k * scale;
        node.position = {kBlockWidth * (i * scale - 0.5), kBlockWidth * (j * scale - 0.5),
                         kTubeHeight + kBlockHeight * k * scale};
        nodes_[kBlock].push_back(node);
        if (i == 0 || j == 0 || k == 0) continue;
        auto& hexahedra = elements_[kBlock][kHexahedra];
        const auto element = static_cast<std::int32_t>(hexahedra.size() / 8);
        for (const int z : {k - 1, k}) {
          hexahedra.insert(hexahedra.end(),
                           {at(i - 1, j - 1, z), at(i, j - 1, z), at(i, j, z), at(i - 1, j, z)});
        }
        if (k > 1) continue;  // border faces are those of the lowest layer, seen from below
        auto& faces = borderFaces_.connectivity.nodes;
        faces.insert(faces.end(),
                     {at(i - 1, j - 1, 0), at(i - 1, j, 0), at(i, j, 0), at(i, j - 1, 0)});
        borderFaces_.parentIds.push_back(element);
        borderFaces_.parentTypes.push_back(kHexahedra);
      }
    }
  }
  borderFaces_.connectivity.ids = Ids::kWindows;
}

void CrashBox::makePlate(double nodes) {
  const int side = std::max(static_cast<int>(std::sqrt(nodes)), 3);
  for (int j = 0; j < side; ++j) {
    for (int i = 0; i < side; ++i) {
      const double scale = 1.0 / (side - 1);
      Node node;
      node.around = i * scale;
      node.along = j * scale;
      node.position = {kPlateWidth * (i * scale - 0.5), kPlateWidth * (j * scale - 0.5), 0.0};
      nodes_[kPlate].push_back(node);
      if (i == 0 || j == 0) continue;
      const int corner = (j - 1) * side + i;
      // The last row of the mesh is made of triangles.
      if (j == side - 1) {
        auto& triangles = elements_[kPlate][kTriangles];
        triangles.insert(triangles.end(), {corner, corner + 1, corner + side});
        triangles.insert(triangles.end(), {corner + 1, corner + side + 1, corner + side});
      } else {
        auto& quads = elements_[kPlate][kQuads];
        quads.insert(quads.end(), {corner, corner + 1, corner + side + 1, corner + side});
      }
    }
  }
}

float CrashBox::timeOf(int step) const {
  return 0.5F * static_cast<float>(step);
}

double CrashBox::progress(int step) const {
  // The block slows down: most of the crush is in the first steps.
  return steps_ < 2 ? 0.0 : std::sqrt(static_cast<double>(step) / (steps_ - 1));
}

std::size_t CrashBox::nodeCount(int part) const {
  return nodes_.at(static_cast<std::size_t>(part)).size();
}

const std::map<int, std::vector<std::int32_t>>& CrashBox::elements(int part) const {
  return elements_.at(static_cast<std::size_t>(part));
}

std::size_t CrashBox::elementCount(int part, int type) const {
  const auto found = elements(part).find(type);
  return found == elements(part).end() ? 0 : elementsIn(type, found->second.size());
}

std::array<double, 3> CrashBox::positionOf(int part, const Node& node, int step) const {
  std::array<double, 3> at = node.position;
  const double crush = kLargestCrush * progress(step);
  if (part == kTube) {
    // Where folds point inwards on two sides of the tube, they point outwards on the others.
    const auto [x, y] = onSquare(node.around);
    const double fold = kFoldDepth * progress(step) *
                        std::sin(std::numbers::pi * kFolds * node.along) *
                        std::cos(2.0 * std::numbers::pi * 2.0 * node.around);
    at[0] += 2.0 * fold * x;
    at[1] += 2.0 * fold * y;
    at[2] *= 1.0 - crush;
  } else if (part == kBlock) {
    at[2] -= kTubeHeight * crush;
  }
  return at;
}

CrashBox::Axes CrashBox::coordinates(int step, int part) const {
  Axes axes;
  for (const Node& node : nodes_.at(static_cast<std::size_t>(part))) {
    const auto at = positionOf(part, node, step);
    for (std::size_t axis = 0; axis < 3; ++axis) axes[axis].push_back(asFloat(at[axis]));
  }
  return axes;
}

CrashBox::Axes CrashBox::particles(int step) const {
  Axes axes;
  for (std::size_t i = 0; i < kParticles; ++i) {
    const double direction = 2.4 * static_cast<double>(i);
    const double distance = kTubeWidth + (3.0 + 0.2 * static_cast<double>(i)) * step;
    axes[0].push_back(asFloat(distance * std::cos(direction)));
    axes[1].push_back(asFloat(distance * std::sin(direction)));
    axes[2].push_back(asFloat(kTubeHeight - 0.5 * step * step));
  }
  return axes;
}

float CrashBox::crushForce(int step) const {
  return asFloat(50.0 + 20.0 * std::sin(3.0 * kFolds * progress(step)));
}

const char* CrashBox::nameOf(Variable variable) {
  constexpr std::array<const char*, kVariableCount> kNames{
      "displacement", "plastic_strain", "stress",      "temperature",   "contact_state",
      "thickness",    "sound_pressure", "crush_force", "fragment_speed"};
  return kNames.at(variable);
}

Tolerance CrashBox::coordinateTolerance() {
  return {kCoordinateStep / 2, 1e-7};
}

Tolerance CrashBox::toleranceOf(Variable variable) const {
  constexpr double kFloatRounding = 1e-7;
  switch (variable) {
    case kDisplacement:
      return {kDisplacementStep / 2, kFloatRounding};
    case kPlasticStrain:
      return {kStrainStep / 2, kFloatRounding};
    case kStress:
      return {0.0, kStressError + kFloatRounding};
    case kTemperature:
      return {relativeStep(kTemperaturePercent, largestTemperature_) / 2, kFloatRounding};
    case kFragmentSpeed:
      return {kSpeedStep / 2, kFloatRounding};
    default:
      return {};
  }
}

std::vector<ValueKey> CrashBox::keys(Variable variable) const {
  std::vector<ValueKey> result;
  const int steps = variable == kSoundPressure ? 1 : steps_;  // which has no time set
  for (int step = 0; step < steps; ++step) {
    for (int part = 0; part < kPartCount; ++part) {
      const ValueKey key{.step = step, .part = part};
      switch (variable) {
        case kDisplacement:
          for (int c = 0; c < 3; ++c)
            result.push_back({.step = step, .part = part, .component = c});
          break;
        case kTemperature:
          result.push_back(key);
          break;
        case kContactState:
          if (part == kTube) result.push_back(key);
          break;
        case kSoundPressure:
          if (part != kBlock) break;
          result.push_back(key);
          result.push_back({.part = part, .imaginary = true});
          break;
        case kFragmentSpeed:
          if (part == 0) result.push_back(key);
          break;
        case kPlasticStrain:
        case kStress:
        case kThickness:
          for (const auto& [type, nodes] : elements(part)) {
            if (variable == kThickness && part == kBlock) continue;
            result.push_back({.step = step, .part = part, .elementType = type});
          }
          break;
        default:
          break;
      }
    }
  }
  return result;
}

double CrashBox::nodeValue(Variable variable, const ValueKey& key, std::size_t index) const {
  if (variable == kFragmentSpeed) return 4.0 + 0.3 * static_cast<double>(index) + 0.1 * key.step;
  const Node& node = nodes_.at(static_cast<std::size_t>(key.part)).at(index);
  const double done = progress(key.step);
  switch (variable) {
    case kDisplacement: {
      const auto axis = static_cast<std::size_t>(key.component);
      return positionOf(key.part, node, key.step)[axis] - node.position[axis];
    }
    case kTemperature:
      return 20.0 + 60.0 * done * (1.0 + std::sin(9.0 * node.along)) * (0.5 + node.around);
    case kContactState:
      return node.along > 1.0 - 0.9 * done ? 1.0 : 0.0;
    default: {  // sound pressure
      const double phase = 7.0 * node.along + 3.0 * node.around;
      return 0.2 * (key.imaginary ? std::sin(phase) : std::cos(phase));
    }
  }
}

/// `place` is the element's position among those of its type, from 0 to 1.
double CrashBox::elementValue(Variable variable, const ValueKey& key, double place) const {
  const double done = progress(key.step);
  const double bending = std::abs(std::sin(40.0 * place)) * (key.part == kTube ? 1.0 : 0.05);
  switch (variable) {
    case kPlasticStrain:
      return 0.8 * done * bending;
    case kStress:
      return 1e-3 + 450.0 * std::pow(done * bending, 3.0);
    default:  // thickness
      return 2.0 - 0.3 * done * bending;
  }
}

std::vector<float> CrashBox::values(Variable variable, const ValueKey& key) const {
  std::vector<float> result;
  if (key.elementType < 0) {
    const std::size_t count = variable == kFragmentSpeed ? kParticles : nodeCount(key.part);
    for (std::size_t i = 0; i < count; ++i) result.push_back(asFloat(nodeValue(variable, key, i)));
  } else {
    const std::size_t count = elementCount(key.part, key.elementType);
    for (std::size_t i = 0; i < count; ++i) {
      const double place = static_cast<double>(i) / static_cast<double>(count);
      result.push_back(asFloat(elementValue(variable, key, place)));
    }
  }
  return result;
}

ResultFileBuilder CrashBox::file() const {
  ResultFileBuilder file;
  file.title = "crash box";
  std::vector<float> times;
  for (int step = 0; step < steps_; ++step) times.push_back(timeOf(step));
  const std::uint32_t timeset = file.timeSet(times);
  file.modelChanges(GeometryChange::kCoordinates, timeset);
  file.coordinates(Quantisation::uniform(kCoordinateStep));
  file.particlesChange(GeometryChange::kCoordinates, timeset);
  file.tableChunks(tableChunks_).timeBlocks(8);

  constexpr std::array<const char*, kPartCount> kPartNames{"tube", "block", "plate"};
  for (int p = 0; p < kPartCount; ++p) {
    PartBuilder& part = file.part(kPartNames[static_cast<std::size_t>(p)]);
    for (int step = 0; step < steps_; ++step) {
      const auto [x, y, z] = coordinates(step, p);
      part.nodes(x, y, z, step);
    }
    // Node ids of solids as windows, those of shells as differences.
    const Ids ids = p == kBlock ? Ids::kWindows : Ids::kDifferences;
    for (const auto& [type, nodes] : elements(p)) part.elements(type, nodes, ids);
    if (p == kBlock) part.borderFaces(kQuads, borderFaces_);
  }
  for (int step = 0; step < steps_; ++step) {
    const auto [x, y, z] = particles(step);
    file.particles().nodes(x, y, z, step);
  }

  constexpr auto kNode = Location::kPerNode;
  constexpr auto kElement = Location::kPerElement;
  constexpr std::uint32_t kVector = 2;
  const auto add = [&](Variable v, Location location, std::uint32_t type = 1) -> VariableBuilder& {
    VariableBuilder& variable = file.variable(nameOf(v), location, type);
    if (v != kSoundPressure) variable.onTimeSet(timeset);
    for (const ValueKey& key : keys(v)) variable.set(key, values(v, key));
    return variable;
  };
  add(kDisplacement, kNode, kVector)
      .describe("displacement from the first step in mm")
      .quantised(Quantisation::uniform(kDisplacementStep))
      .timeDifferences();
  add(kPlasticStrain, kElement).quantised(Quantisation::uniform(kStrainStep)).alongForest();
  add(kStress, kElement)
      .describe("equivalent stress in MPa")
      .quantised(Quantisation::adaptiveExponent(kStressError));
  add(kTemperature, kNode).quantised(Quantisation::relative(kTemperaturePercent)).split();
  add(kContactState, kNode).timeDifferences();
  add(kThickness, kElement).describe("shell thickness in mm");
  add(kSoundPressure, kNode).complex("imaginary part", 120.0F);
  std::vector<float> forces;
  for (int step = 0; step < steps_; ++step) forces.push_back(crushForce(step));
  add(kCrushForce, kNode).describe("force in kN").constant(std::move(forces));
  add(kFragmentSpeed, kNode).onParticles().quantised(Quantisation::uniform(kSpeedStep));
  return file;
}

}  // namespace morvex::Writer

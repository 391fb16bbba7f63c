#pragma once

#include <array>
#include <limits>
#include <vector>

#include "writer/result_file.hpp"

namespace morvex {

/// Moving coordinates, each way of storing connectivity, polygons and polyhedra, border faces, a
/// structured block, and particles.
inline void describeMovingGeometry(Writer::ResultFileBuilder& file, int stepCount) {
  using namespace Writer;
  std::vector<float> times;
  for (int step = 0; step < stepCount; ++step) times.push_back(0.5F * static_cast<float>(step));
  file.modelChanges(GeometryChange::kCoordinates, file.timeSet(times));
  file.coordinates(Quantisation::uniform(0.125));
  PartBuilder& shell = file.part("shell");
  PartBuilder& block = file.part("block").block({2, 2, 1, 0});
  for (int step = 0; step < stepCount; ++step) {
    const auto s = static_cast<float>(step);
    shell.nodes({0, 1, 1 + s, 0, 2, 2.5F}, {0, s, 1, 1, 0, 1}, {0, 0, 0, s, 0, 9}, step);
    block.nodes({0, 1, 0, 1}, {0, 0, 1, 1}, {0, 0, 0, s}, step);
  }
  shell.elements(6, {1, 5, 6}).elements(10, {1, 2, 3, 4, 2, 5, 6, 3}, Ids::kWindows);
  shell.nsided({3, 4}, {1, 2, 3, 3, 4, 5, 6}, Ids::kWindows);
  shell.nfaced({2}, {3, 3}, {1, 2, 3, 4, 5, 6});
  shell.borderFaces(6, {{{1, 2, 3}, Ids::kDifferences}, {7}, {14}});
  file.particles().nodes({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
}

inline void describeGeometry(Writer::ResultFileBuilder& file) {
  describeMovingGeometry(file, 2);
}

/// Variables of a part of 6 nodes, a triangle and two quadrilaterals, per node, per element and for
/// the case: exact and complex, as differences along the first time set, along a forest, constant.
inline void addVariables(Writer::ResultFileBuilder& file, int stepCount) {
  using namespace Writer;
  file.timeBlocks(2);
  auto& exact = file.variable("exact", Location::kPerNode, 2).complex("imaginary part", 50);
  exact.set({}, {1, 2, 3, 4, 5, 6}).set({.imaginary = true}, {9, 9, 9, 8, 8, 8});
  exact.set({.component = 1}, {6, 5, 4, 3, 2, 1}).set({.component = 2}, {0, 0, 0, 1, 1, 1});
  auto& series = file.variable("series", Location::kPerNode).onTimeSet(0).timeDifferences();
  series.quantised(Quantisation::uniform(0.25));
  auto& forest = file.variable("forest", Location::kPerNode).alongForest();
  forest.quantised(Quantisation::uniform(0.5)).set({}, {1, 2, 4, 8, 16, 32});
  auto& element = file.variable("element", Location::kPerElement);
  element.set({.elementType = 10}, {1.5F, -2.5F}).set({.elementType = 6}, {0.25F});
  std::vector<float> constants;
  for (int step = 0; step < stepCount; ++step) {
    const auto s = static_cast<float>(step);
    series.set({.step = step}, {s, s * s, 10 - s, 1, 2, 3 * s});
    constants.push_back(s + 1);
  }
  file.variable("constant", Location::kPerNode).onTimeSet(0).constant(constants);
}

inline void describeVariables(Writer::ResultFileBuilder& file) {
  file.timeSet({0, 1, 2});
  auto& part = file.part("part");
  part.nodes({0, 1, 1, 0, 2, 2}, {0, 0, 1, 1, 0, 1}, {0, 0, 0, 1, 0, 0});
  part.elements(6, {1, 2, 3}).elements(10, {1, 2, 3, 4, 2, 5, 6, 3});
  addVariables(file, 3);
}

/// A file with a little of all that: geometry and variables over five steps.
inline void describeSmallFile(Writer::ResultFileBuilder& file) {
  constexpr int kSteps = 5;
  describeMovingGeometry(file, kSteps);
  addVariables(file, kSteps);
}

/// Coordinates of adaptive precision beside exact ones, and variables of each precision: relative,
/// adaptive, split into integers and dequantisation, with outliers, by pattern and by default, on
/// particles.
inline void describePrecisions(Writer::ResultFileBuilder& file) {
  using namespace Writer;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  file.coordinates(Quantisation::adaptiveShift(0.5)).tableChunks(2);
  file.particleCoordinates(Quantisation::uniform(0.25));
  file.part("a").nodes({0, 1, 100, 0}, {0.01F, 2, 3, 4}, {9, 8, 7, 6}).elements(2, {1, 2, 2, 3});
  file.part("b").nodes({1, 2}, {3, 4}, {5, 6}).notAdaptive();
  file.particles().nodes({1, 2, kInfinity}, {4, 5, 6}, {7, 8, 9});
  const auto add = [&file](const char* name, const Quantisation& how) -> VariableBuilder& {
    return file.variable(name, Location::kPerNode).quantised(how);
  };
  add("relative", Quantisation::relative(0.1)).set({}, {1, -2, 3, 50});
  add("adaptive", Quantisation::adaptiveExponent(0.01)).set({}, {1e-3F, 0, -1e6F, kInfinity});
  add("split", Quantisation::uniform(0.5)).split().set({}, {1, 2, kInfinity, 4});
  add("tree", Quantisation::uniform(0.5)).split().alongForest().set({}, {4, 3, 2, 1});
  add("p_1", Quantisation::uniform(0.125)).set({}, {1, 2, 3, 4}).hasOwnSetting = false;
  add("other", Quantisation::uniform(2)).set({.part = 1}, {8, 6}).hasOwnSetting = false;
  add("flying", Quantisation::uniform(1)).onParticles().set({}, {1, 2, 3});
  file.precision("p_*", {QuantizationType::UniformQuantization, {0.125}});
  file.precision("DEFAULT_VARIABLE_PRECISION", {QuantizationType::UniformQuantization, {2}});
}

/// A model whose parts and connectivity change, with everything that a file can contain beside its
/// data, and variables as time differences: exact, quantised, and along a forest.
inline void describeChanges(Writer::ResultFileBuilder& file) {
  using namespace Writer;
  constexpr int kSteps = 3;
  const std::uint32_t steps = file.timeSet({0, 1, 2});
  file.timeSet(TimeSet(7, 1, 2, -1, 0, {3, 5}, "listed", {0.5F, 1.5F}));
  file.fileSet(FileSet(1, 0, kSteps, 0));
  file.modelChanges(GeometryChange::kConnectivity, steps).timeBlocks(2, 1);
  PartBuilder& part = file.part("growing");
  std::vector<OctreeMetaData> octrees;
  for (int step = 0; step < kSteps; ++step) {
    const auto s = static_cast<float>(step);
    part.nodes({0, 1, s}, {0, s, 1}, {s, 0, 0}, step);
    part.elements(step % 2 == 0 ? 6 : 4, {1, 2, 3}, Ids::kWindows, step);
    OctreeMetaData& octree = octrees.emplace_back();
    octree.entryCounts = {1};
    octree.partValues = {2};
    octree.entryValuesA = octree.entryValuesB = octree.entryValuesC = octree.entryValuesD =
        octree.entryValuesE = {{3}};
    octree.entryPairs = {{{4, 5}}};
    octree.entryElementCounts = {{ElementCounts{6}}};
    octree.partFlags = {true};
  }
  file.octrees = {octrees};
  auto& exact = file.variable("exact", Location::kPerNode).onTimeSet(steps).timeDifferences();
  auto& rough = file.variable("rough", Location::kPerNode).onTimeSet(steps).timeDifferences();
  auto& tree = file.variable("tree", Location::kPerNode).onTimeSet(steps).timeDifferences();
  rough.quantised(Quantisation::relative(1));
  tree.quantised(Quantisation::uniform(0.5)).alongForest();
  for (int step = 0; step < kSteps; ++step) {
    const auto s = static_cast<float>(step);
    for (VariableBuilder* variable : {&exact, &rough, &tree}) {
      variable->set({.step = step}, {s, 2 * s, 3 - s});
    }
  }
}

/// Small files that together contain each stored form.
struct StoredForm {
  const char* name;
  void (*describe)(Writer::ResultFileBuilder& file);
  bool deflatesRecords;
};
inline constexpr std::array kStoredForms{StoredForm{"Geometry", describeGeometry, false},
                                         StoredForm{"Variables", describeVariables, false},
                                         StoredForm{"Precisions", describePrecisions, true},
                                         StoredForm{"Changes", describeChanges, false}};

/// The file's datasets, with names as short as the descriptions allow.
[[nodiscard]] inline Writer::ResultImage imageOf(const StoredForm& form) {
  Writer::ResultFileBuilder file;
  file.nameWidth = 16;
  form.describe(file);
  return file.image();
}

}  // namespace morvex

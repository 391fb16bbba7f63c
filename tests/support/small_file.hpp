#pragma once

#include "writer/result_file.hpp"

namespace morvex {

/// A file that holds a little of each stored form: exact and quantised coordinates that move,
/// connectivity as differences and in windows, polygons and polyhedra, border faces, particles, and
/// variables per node and element, complex, constant, along forests and in time differences.
inline void describeSmallFile(Writer::ResultFileBuilder& file) {
  using namespace Writer;
  const std::uint32_t steps = file.timeSet({0.0F, 0.5F, 1.0F, 1.5F, 2.0F});
  file.modelChanges(GeometryChange::kCoordinates, steps);
  file.coordinates(Quantisation::uniform(0.125));
  file.timeBlocks(2);
  PartBuilder& shell = file.part("shell");
  for (int step = 0; step < 5; ++step) {
    const auto shift = static_cast<float>(step);
    shell.nodes({0, 1, 1 + shift, 0, 2, 2.5F}, {0, shift, 1, 1, 0, 1}, {0, 0, 0, shift, 0, 9},
                step);
  }
  shell.elements(6, {1, 5, 6}).elements(10, {1, 2, 3, 4, 2, 5, 6, 3}, Ids::windows);
  shell.nsided({3, 4}, {1, 2, 3, 3, 4, 5, 6}, Ids::windows);
  shell.nfaced({2}, {3, 3}, {1, 2, 3, 4, 5, 6});
  shell.borderFaces(6, {{{1, 2, 3}, Ids::differences}, {7}, {14}});
  PartBuilder& block = file.part("block").block({2, 2, 1, 0});
  for (int step = 0; step < 5; ++step) {
    block.nodes({0, 1, 0, 1}, {0, 0, 1, 1}, {0, 0, 0, static_cast<float>(step)}, step);
  }
  file.particles().nodes({1, 2, 3}, {4, 5, 6}, {7, 8, 9});

  auto& exact = file.variable("exact", Location::perNode, 2);
  auto& series = file.variable("series", Location::perNode);
  auto& forest = file.variable("forest", Location::perNode);
  auto& element = file.variable("element", Location::perElement);
  exact.complex("imaginary part", 50.0F).set({}, {1, 2, 3, 4, 5, 6});
  exact.set({.component = 1}, {6, 5, 4, 3, 2, 1}).set({.component = 2}, {0, 0, 0, 1, 1, 1});
  exact.set({.imaginary = true}, {9, 9, 9, 8, 8, 8});
  series.onTimeSet(steps).quantised(Quantisation::uniform(0.25)).timeDifferences();
  forest.quantised(Quantisation::uniform(0.5)).alongForest().set({}, {1, 2, 4, 8, 16, 32});
  element.set({.elementType = 10}, {1.5F, -2.5F}).set({.elementType = 6}, {0.25F});
  for (int step = 0; step < 5; ++step) {
    const auto s = static_cast<float>(step);
    series.set({.step = step}, {s, s * s, 10 - s, 1, 2, 3 * s});
  }
  file.variable("constant", Location::perNode).onTimeSet(steps).constant({1, 2, 3, 4, 5});
}

}  // namespace morvex

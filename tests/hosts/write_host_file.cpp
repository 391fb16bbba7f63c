// Writes the file of host_file.h.

#include <cstdio>
#include <vector>

#include "host_file.h"
#include "writer/result_file.hpp"

namespace {

template <class Number>
std::vector<float> forAllNodes(Number&& number) {
  std::vector<float> values(HOST_NODES);
  for (int node = 0; node < HOST_NODES; ++node) {
    values[static_cast<std::size_t>(node)] = static_cast<float>(number(node));
  }
  return values;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace morvex;
  if (argc != 2) return 2;
  Writer::ResultFileBuilder file;
  std::vector<float> times;
  for (int step = 0; step < HOST_STEPS; ++step) times.push_back(static_cast<float>(step));
  const std::uint32_t steps = file.timeSet(times);
  file.modelChanges(GeometryChange::kCoordinates, steps);
  file.coordinates(Writer::Quantisation::uniform(HOST_QUANTUM));
  file.tableChunks(HOST_CHUNKS);
  file.timeBlocks(2);
  Writer::PartBuilder& part = file.part(HOST_PART);
  auto& wave = file.variable(HOST_VARIABLE, Writer::Location::kPerNode);
  wave.onTimeSet(steps).quantised(Writer::Quantisation::uniform(HOST_QUANTUM)).timeDifferences();
  for (int step = 0; step < HOST_STEPS; ++step) {
    const auto axis = [step](int a) {
      return forAllNodes([=](int node) { return hostCoordinate(step, a, node); });
    };
    part.nodes(axis(0), axis(1), axis(2), step);
    wave.set({.step = step}, forAllNodes([=](int node) { return hostValue(step, node); }));
  }
  file.write(argv[1]);
  return 0;
}

// Writes the file of host_file.hpp.

#include <vector>

#include "host_file.hpp"
#include "writer/result_file.hpp"

int main(int argc, char** argv) {
  using namespace hostFile;
  using namespace morvex;
  if (argc != 2) return 2;
  const auto forAllNodes = [](auto&& number) {
    std::vector<float> values;
    for (int node = 0; node < kNodes; ++node) values.push_back(number(node));
    return values;
  };
  Writer::ResultFileBuilder file;
  const std::uint32_t steps = file.timeSet({0, 1, 2, 3, 4});
  file.modelChanges(GeometryChange::kCoordinates, steps);
  file.coordinates(Writer::Quantisation::uniform(kQuantum)).tableChunks(kChunks).timeBlocks(2);
  Writer::PartBuilder& part = file.part("plate");
  auto& wave = file.variable("wave", Writer::Location::perNode);
  wave.onTimeSet(steps).quantised(Writer::Quantisation::uniform(kQuantum)).timeDifferences();
  for (int step = 0; step < kSteps; ++step) {
    const auto axis = [&](int a) {
      return forAllNodes([=](int node) { return coordinate(step, a, node); });
    };
    part.nodes(axis(0), axis(1), axis(2), step);
    wave.set({.step = step}, forAllNodes([=](int node) { return value(step, node); }));
  }
  file.write(argv[1]);
  return 0;
}

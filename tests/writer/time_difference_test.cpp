#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "result_session.hpp"

namespace morvex::Writer {
namespace {

constexpr std::size_t kNodes = 700;
constexpr double kStep = 0.02;

Floats valuesAt(int step) {
  Floats values = wave(kNodes, 3, 50.0F + 2.0F * static_cast<float>(step));
  values[static_cast<std::size_t>(step)] = 1e20F;  // no difference to this is small
  if (step % 3 == 0) values[9] = std::numeric_limits<float>::infinity();
  return values;
}

struct Form {
  bool isQuantised;
  bool alongForest;
};

class TimeDifferences : public ResultSession, public ::testing::WithParamInterface<Form> {
 protected:
  /// One variable with `steps` steps.
  ResultFileBuilder fileOf(int steps, std::uint32_t blockSize, std::uint32_t maxDepth) {
    ResultFileBuilder file;
    file.part("p").nodes(Floats(kNodes), Floats(kNodes), Floats(kNodes));
    Floats times(static_cast<std::size_t>(steps));
    std::iota(times.begin(), times.end(), 0.0F);
    const std::uint32_t timeset = file.timeSet(times);
    auto& v = file.variable("v", Location::kPerNode).onTimeSet(timeset).timeDifferences();
    if (GetParam().isQuantised) v.quantised(Quantisation::uniform(kStep));
    if (GetParam().alongForest) v.alongForest();
    for (int step = 0; step < steps; ++step) v.set({.step = step}, valuesAt(step));
    file.timeBlocks(blockSize, maxDepth).tableChunks(2);
    return file;
  }

  static void expectStep(int step) {
    SCOPED_TRACE(step);
    const Floats read = variable(0, {.step = step}, kNodes);
    if (GetParam().isQuantised) {
      expectQuantised(read, valuesAt(step), kStep);
    } else {
      expectSameBits(read, valuesAt(step));
    }
  }
};

TEST_P(TimeDifferences, ReadTheSameInAnyOrder) {
  constexpr int kSteps = 23;
  open(fileOf(kSteps, 8, 0));
  std::vector<int> order(kSteps);
  std::iota(order.begin(), order.end(), 0);
  std::mt19937 random(7);
  for (int round = 0; round < 4; ++round) {  // the first one walks forward
    for (const int step : order) expectStep(step);
    std::shuffle(order.begin(), order.end(), random);
  }
  for (int step = 0; step < kSteps; ++step) {
    MX_exit();
    open();
    expectStep(step);  // as the first one that is read
  }
}

TEST_P(TimeDifferences, AnyNumberOfStepsAndForcedKeysCanBeStored) {
  for (const int steps : {1, 2, 3, 4, 5, 9, 10}) {
    for (const std::uint32_t maxDepth : {0U, 1U, 2U}) {
      SCOPED_TRACE(std::to_string(steps) + " steps, depth " + std::to_string(maxDepth));
      open(fileOf(steps, 2, maxDepth));
      for (int step = steps - 1; step >= 0; --step) expectStep(step);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, TimeDifferences,
                         ::testing::Values(Form{false, false}, Form{false, true}, Form{true, false},
                                           Form{true, true}));

}  // namespace
}  // namespace morvex::Writer

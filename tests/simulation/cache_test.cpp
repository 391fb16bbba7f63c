#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/error.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/read_context.hpp"
#include "simulation/simulation.hpp"
#include "support/log_capture.hpp"
#include "support/temporary_path.hpp"
#include "writer/differences.hpp"
#include "writer/result_file.hpp"

namespace morvex {
namespace {

using Writer::Location;
using Writer::Quantisation;
using Writer::ResultFileBuilder;

class CacheTest : public testing::Test {
 protected:
  static constexpr std::size_t kNodes = 5;

  static std::vector<float> valuesAt(int step) {
    return {static_cast<float>(step), 1, 2, static_cast<float>(step * step % 50), -3};
  }

  static ResultFileBuilder fileWithOnePart() {
    ResultFileBuilder file;
    file.part("p").nodes({0, 1, 2, 3, 4}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}).elements(0, {1, 2, 3});
    return file;
  }
  /// One variable in time differences, in blocks of `blockSize` steps.
  std::unique_ptr<EnsgSimulation> openSeries(int steps, std::uint32_t blockSize) {
    ResultFileBuilder file = fileWithOnePart();
    std::vector<float> times(static_cast<std::size_t>(steps));
    std::iota(times.begin(), times.end(), 0.0F);
    const std::uint32_t timeset = file.timeSet(times);
    file.timeBlocks(blockSize);
    auto& v = file.variable("v", Location::kPerNode).onTimeSet(timeset);
    v.quantised(Quantisation::uniform(0.5)).timeDifferences();
    for (int step = 0; step < steps; ++step) v.set({.step = step}, valuesAt(step));
    return open(file.image());
  }
  std::unique_ptr<EnsgSimulation> open(const Writer::ResultImage& image) {
    image.write(path_.string());
    return std::make_unique<EnsgSimulation>(&manager_, path_.string(), false);
  }
  static std::vector<float> read(EnsgSimulation& simulation, int step) {
    std::vector<float> values(kNodes);
    simulation.readVariableComponent(step, 0, 0, -1, 0, false, {values.data(), kNodes}, false);
    return values;
  }

  Kelbor::LogCapture log_{Kelbor::LogLevel::kSilent};
  TemporaryPath path_{"cache.sdf"};
  Kelbor::DataManager manager_;
};

TEST_F(CacheTest, WalkingForwardDecodesEachStepOnceAndKeepsFew) {
  for (const std::uint32_t blockSize : {2U, 8U}) {
    const int steps = 100;
    const auto simulation = openSeries(steps, blockSize);
    for (int step = 0; step < steps; ++step) {
      EXPECT_EQ(read(*simulation, step), valuesAt(step)) << "step " << step;
      EXPECT_LE(simulation->reads().externalDependencyCache.size(), 2 * blockSize + 1);
    }
    EXPECT_EQ(simulation->reads().cookedDatasets, static_cast<std::uint64_t>(steps));
  }
}

/// The steps that a step leans on, itself included.
std::set<int> closureOf(int step, int steps, int blockSize) {
  std::set<int> closure;
  std::vector<int> open{step};
  while (!open.empty()) {
    const int at = open.back();
    open.pop_back();
    if (!closure.insert(at).second) continue;
    for (const int distance : Writer::timeReferences(at, steps, blockSize, 0)) {
      open.push_back(at + distance);
    }
  }
  return closure;
}

TEST_F(CacheTest, RandomStepCostsNoMoreThanItsPatternNeeds) {
  const int steps = 40;
  const auto simulation = openSeries(steps, 4);
  std::mt19937 random(1);
  for (int i = 0; i < 60; ++i) {
    const int step = static_cast<int>(random() % steps);
    const std::uint64_t before = simulation->reads().cookedDatasets;
    EXPECT_EQ(read(*simulation, step), valuesAt(step)) << "step " << step;
    EXPECT_LE(simulation->reads().cookedDatasets - before, closureOf(step, steps, 4).size());
  }
}

TEST_F(CacheTest, AxesShareTheTableOfExponentsUntilGeometryIsFinished) {
  ResultFileBuilder file;
  file.coordinates(Quantisation::adaptiveShift(0.01));
  file.part("p").nodes({0, 1, 2, 3, 4}, {0, 5, 0, 0, 0}, {0, 0, 9, 0, 0});
  file.variable("v", Location::kPerNode).set({}, {1, 2, 3, 4, 5});
  const auto simulation = open(file.image());
  const auto readAxes = [&] {
    std::vector<float> values(kNodes);
    for (int axis = 0; axis < 3; ++axis) {
      simulation->readCoordinates(0, 0, 0, axis, {values.data(), kNodes}, false);
    }
  };
  readAxes();
  readAxes();
  EXPECT_EQ(simulation->reads().cookedDatasets, 1U);
  EXPECT_EQ(simulation->reads().externalDependencyCache.size(), 1U);
  simulation->clearGeometryCache();
  EXPECT_EQ(simulation->reads().externalDependencyCache.size(), 0U);
  readAxes();
  EXPECT_EQ(simulation->reads().cookedDatasets, 2U);
  (void)read(*simulation, 0);
  EXPECT_EQ(simulation->reads().externalDependencyCache.size(), 0U)
      << "a variable ends geometry, too";
}

TEST_F(CacheTest, CycleOfReferencesIsTold) {
  ResultFileBuilder file = fileWithOnePart();
  file.variable("v", Location::kPerNode).set({}, {1, 2, 3, 4, 5});
  Writer::ValueRecipe circular;
  circular.timeReferences = {"0_data_b"};
  const std::int32_t toB = file.addRecipe(Writer::valueRecipe(circular));
  circular.timeReferences = {"0_data"};
  const std::int32_t toA = file.addRecipe(Writer::valueRecipe(circular));
  Writer::ResultImage image = file.image();
  const std::string main = "/variable/v/0/0/0_data";
  image[main + "_b"] = image.at(main);
  std::memcpy(image[main].data(), &toB, sizeof toB);
  std::memcpy(image[main + "_b"].data(), &toA, sizeof toA);
  const auto simulation = open(image);
  const Kelbor::LogCapture messages;
  EXPECT_THROW((void)read(*simulation, 0), std::runtime_error);
  EXPECT_NE(messages.text().find("WARNING: fetchAndCacheExternalDependencies for ts0 failed: "
                                 "External dependency cycle at " +
                                 main + "_b"),
            std::string::npos)
      << messages.text();
  EXPECT_EQ(simulation->reads().externalDependencyCache.size(), 0U);
}

TEST_F(CacheTest, StoredCountThatNoPayloadCanHoldSizesNothing) {
  ResultFileBuilder file = fileWithOnePart();
  file.variable("v", Location::kPerNode)
      .quantised(Quantisation::uniform(0.5))
      .split()
      .set({}, {1, 2, 3, 4, 5});
  Writer::RecipeBuilder stored(Writer::kStoredParametersLabel);
  stored.addParallel(Writer::ClassTag::kChunkedZlib, {Writer::chainInput(0)}, "Uncompressed");
  const std::int32_t recipe = file.addRecipe(stored);
  const std::int32_t parameters =
      file.addParameters(Writer::storedParameters(std::uint64_t{1} << 40, 6));
  Writer::ResultImage image = file.image();
  Writer::Bytes& header = image["/variable/v/0/0/0_data_vquant"];
  std::memcpy(header.data(), &recipe, sizeof recipe);
  std::memcpy(header.data() + sizeof recipe, &parameters, sizeof parameters);
  const auto simulation = open(image);
  EXPECT_THROW((void)read(*simulation, 0), std::runtime_error);
}

TEST_F(CacheTest, KeptValuesAreServedWithoutTheFile) {
  const auto simulation = open(fileWithOnePart().image());
  const std::string group = geometryGroup(0, 0, 0);
  std::vector<std::int32_t> nodes(3);
  const auto readNodes = [&](long long count, bool keep) {
    nodes.assign(3, 0);
    simulation->readConnectivityInto(group, "0_elementnodeids", "none", {nodes.data(), count},
                                     keep);
    return nodes;
  };
  const std::vector<std::int32_t> expected{1, 2, 3};
  EXPECT_EQ(readNodes(3, /*keep=*/true), expected);
  EXPECT_EQ(readNodes(3, false), expected);
  EXPECT_EQ(readNodes(3, false), expected) << "content that was read is still kept";
  try {
    (void)readNodes(2, false);
    ADD_FAILURE() << "another number of values was served";
  } catch (const std::logic_error& failure) {
    EXPECT_STREQ(failure.what(), "connectivities.getDataSize() != buffer.size!");
  }
}

}  // namespace
}  // namespace morvex

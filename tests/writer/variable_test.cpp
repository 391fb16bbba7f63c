#include <cmath>
#include <limits>

#include "result_session.hpp"
#include "writer/differences.hpp"
#include "writer/streams.hpp"

namespace morvex::Writer {
namespace {

constexpr std::size_t kNodes = 20'000;
constexpr std::size_t kQuads = 900;

class VariableRoundTrip : public ResultSession {
 protected:
  VariableRoundTrip() {
    file_.part("nodes and quads")
        .nodes(wave(kNodes, 1), wave(kNodes, 2), wave(kNodes, 3))
        .elements(10, Ints(4 * kQuads, 1));
    file_.part("triangles").nodes({0}, {0}, {0}).elements(6, {1, 1, 1, 1, 1, 1});
    file_.tableChunks(3);
  }

  ResultFileBuilder file_;
};

/// Values that no step is fine or wide enough for.
Floats withOutliers(Floats values) {
  values[3] = std::numeric_limits<float>::infinity();
  values[values.size() - 1] = -1e35F;
  values[values.size() / 2] = std::numeric_limits<float>::quiet_NaN();
  return values;
}

TEST_F(VariableRoundTrip, ExactValuesKeepEveryBit) {
  const Floats real = withOutliers(wave(kNodes, 5));
  file_.variable("complex", Location::perNode, 2)
      .complex("imaginary part", 50.0F)
      .set({.component = 0}, real)
      .set({.component = 2}, wave(kNodes, 6))
      .set({.component = 2, .imaginary = true}, wave(kNodes, 7));
  open(file_);
  expectSameBits(variable(0, {.component = 0}, kNodes), real);
  expectSameBits(variable(0, {.component = 2}, kNodes), wave(kNodes, 6));
  expectSameBits(variable(0, {.component = 2, .imaginary = true}, kNodes), wave(kNodes, 7));
}

TEST_F(VariableRoundTrip, EveryFormOfAQuantisedVariableReadsAlike) {
  const Floats values = withOutliers(wave(kNodes, 9));
  const Floats ofQuads = wave(kQuads, 10);
  constexpr double kStep = 0.003;
  int count = 0;
  for (const bool split : {false, true}) {
    for (const bool alongForest : {false, true}) {
      for (const Location location : {Location::perNode, Location::perElement}) {
        auto& v = file_.variable("v" + std::to_string(count++), location)
                      .quantised(Quantisation::uniform(kStep));
        if (split) v.split();
        if (alongForest) v.alongForest();
        if (location == Location::perNode) {
          v.set({}, values).set({.component = 1, .imaginary = true}, wave(kNodes, 11));
        } else {
          v.set({.elementType = 10}, ofQuads).set({.part = 1, .elementType = 6}, {1.0F, -2.0F});
        }
      }
    }
  }
  file_.variable("exact along forest", Location::perNode).alongForest().set({}, values);
  open(file_);
  for (int i = 0; i < count; ++i) {
    SCOPED_TRACE(i);
    for (int again = 0; again < 2; ++again) {
      if (i % 2 == 0) {
        expectQuantised(variable(i, {}, kNodes), values, kStep);
        expectQuantised(variable(i, {.component = 1, .imaginary = true}, kNodes), wave(kNodes, 11),
                        kStep);
      } else {
        expectQuantised(variable(i, {.elementType = 10}, kQuads), ofQuads, kStep);
        expectQuantised(variable(i, {.part = 1, .elementType = 6}, 2), {1.0F, -2.0F}, kStep);
      }
    }
  }
  expectSameBits(variable(count, {}, kNodes), values);
}

TEST_F(VariableRoundTrip, ExponentsFollowTheMagnitudeOfEachValue) {
  Floats values;
  for (int i = 0; i < static_cast<int>(kNodes); ++i) {
    values.push_back(std::ldexp(1.0F + 0.3F * static_cast<float>(i % 7), i % 90 - 45));
  }
  values[5] = 0.0F;
  values = withOutliers(std::move(values));
  constexpr double kError = 1e-4;
  for (const bool alongForest : {false, true}) {
    auto& v = file_.variable(alongForest ? "forest" : "row", Location::perNode);
    v.quantised(Quantisation::adaptiveExponent(kError)).set({}, values);
    if (alongForest) v.alongForest();
  }
  open(file_);
  for (int v = 0; v < 2; ++v) {
    const Floats read = variable(v, {}, kNodes);
    for (std::size_t i = 0; i < kNodes; ++i) {
      if (std::isfinite(values[i])) {
        ASSERT_NEAR(read[i], values[i], std::abs(values[i]) * kError * 1.001) << i;
      } else {
        ASSERT_EQ(std::isnan(read[i]), std::isnan(values[i])) << i;
      }
    }
    EXPECT_EQ(read[5], 0.0F);
    EXPECT_EQ(read[3], values[3]);
    // The step of a value is the largest power of two that its error allows.
    const double step = std::ldexp(
        1.0, -static_cast<int>(std::ceil(-std::log2(2.0 * kError * std::abs(values[7])))));
    EXPECT_EQ(read[7], static_cast<float>(std::nearbyint(values[7] / step) * step));
  }
}

TEST_F(VariableRoundTrip, PatternsAndTheDefaultServeParticlesAndBlocksWithoutTheirOwn) {
  file_.part("block").nodes(wave(8, 1), wave(8, 2), wave(8, 3)).block({2, 2, 2, 0});
  file_.particles().nodes(wave(30, 1), wave(30, 2), wave(30, 3));
  file_.precision("mass*", {QuantizationType::UniformQuantization, {0.5}});
  file_.precision("DEFAULT_VARIABLE_PRECISION", {QuantizationType::UniformQuantization, {0.25}});
  file_.variable("mass_1", Location::perNode)
      .onParticles()
      .quantised(Quantisation::uniform(0.5), /*ownSetting=*/false)
      .set({}, wave(30, 4));
  file_.variable("pressure", Location::perNode)
      .quantised(Quantisation::uniform(0.25), /*ownSetting=*/false)
      .set({}, wave(kNodes, 6))
      .set({.part = 2}, wave(8, 5));
  open(file_);
  EXPECT_EQ(MX_getVariableGeoType(0), 1);
  expectQuantised(variable(0, {}, 30), wave(30, 4), 0.5);
  expectQuantised(variable(1, {}, kNodes), wave(kNodes, 6), 0.25);
  expectQuantised(variable(1, {.part = 2}, 8), wave(8, 5), 0.25);
}

TEST_F(VariableRoundTrip, TablesMayBeSumsInARowOrOfBlocks) {
  const Floats values = wave(kNodes, 3);
  const auto describe = [&values](ResultFileBuilder& file) {
    file.part("p").nodes(values, values, values);
    file.variable("v", Location::perNode)
        .quantised(Quantisation::adaptiveExponent(1e-3))
        .set({}, values);
  };
  ResultFileBuilder plain;
  describe(plain);
  open(plain);
  const Floats expected = variable(0, {}, kNodes);

  const Words table = exponentTable(values, 1e-3).words();
  for (const bool inARow : {true, false}) {
    const std::uint64_t blocks = inARow ? table.size() : 2;
    RecipeBuilder recipe(kStoredParametersLabel);
    recipe.addParallel(ClassTag::chunkedZlibTree, {chainInput(0)});
    recipe.addParallel(inARow ? ClassTag::simpleSums : ClassTag::offsetSums, {outputOf(0)},
                       "Uncompressed");
    // The second wrapper takes all of its input as one chunk, and blocks where they are asked for.
    ByteWriter parameters;
    parameters.raw(storedParameters(table.size(), 6, 1000)).u32(0);
    if (!inARow) parameters.u64(blocks);
    ResultFileBuilder file;
    describe(file);
    const std::int32_t number = file.addRecipe(recipe);
    const std::int32_t block = file.addParameters(parameters.bytes());
    ResultImage image = file.image();
    const Words stored = inARow ? differencesInRow(table) : differencesOfBlocks(table, blocks);
    image["/variable/v/0/0/0_data_qe"] =
        ByteWriter()
            .i32(number)
            .i32(block)
            .raw(chunkedStream(std::span<const std::int32_t>(stored), Chaining::none,
                               {.planeChunkBytes = 1000, .tableChunks = 4}))
            .take();
    open(image);
    expectSameBits(variable(0, {}, kNodes), expected);
  }
}

}  // namespace
}  // namespace morvex::Writer

#include <cmath>
#include <cstring>
#include <limits>
#include <map>

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
  file_.variable("complex", Location::kPerNode, 2)
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
      for (const Location location : {Location::kPerNode, Location::kPerElement}) {
        auto& v = file_.variable("v" + std::to_string(count++), location)
                      .quantised(Quantisation::uniform(kStep));
        if (split) v.split();
        if (alongForest) v.alongForest();
        if (location == Location::kPerNode) {
          v.set({}, values).set({.component = 1, .imaginary = true}, wave(kNodes, 11));
        } else {
          v.set({.elementType = 10}, ofQuads).set({.part = 1, .elementType = 6}, {1.0F, -2.0F});
        }
      }
    }
  }
  file_.variable("exact along forest", Location::kPerNode).alongForest().set({}, values);
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
    auto& v = file_.variable(alongForest ? "forest" : "row", Location::kPerNode);
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
  file_.variable("mass_1", Location::kPerNode)
      .onParticles()
      .quantised(Quantisation::uniform(0.5), /*ownSetting=*/false)
      .set({}, wave(30, 4));
  file_.variable("pressure", Location::kPerNode)
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
    file.variable("v", Location::kPerNode)
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
    recipe.addParallel(ClassTag::kChunkedZlibTree, {chainInput(0)});
    recipe.addParallel(inARow ? ClassTag::kSimpleSums : ClassTag::kOffsetSums, {outputOf(0)},
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
            .raw(chunkedStream(std::span<const std::int32_t>(stored), Chaining::kNone,
                               {.planeChunkBytes = 1000, .tableChunks = 4}))
            .take();
    open(image);
    expectSameBits(variable(0, {}, kNodes), expected);
  }
}

/// Precisions know no scaled exponents; a dataset that brings its parameters along may have them.
/// Here its values are the outliers of the variable, at every position.
TEST_F(VariableRoundTrip, ScaledExponentsComeWithStoredParameters) {
  ResultFileBuilder file;
  file.part("p").nodes({0, 1}, {0, 1}, {0, 1});
  file.variable("v", Location::kPerNode).quantised(Quantisation::uniform(0.5)).set({}, {1, 2});
  const std::string group = "/variable/v/0/0/";
  std::map<std::string, Bytes> made;
  const auto add = [&](const char* name, const RecipeBuilder& recipe, const ByteWriter& values,
                       const Bytes& payload) {
    const std::int32_t number = file.addRecipe(recipe);
    const std::int32_t parameters =
        file.addParameters(ByteWriter(MetadataVersion{}).raw(values.bytes()).take());
    made[name] = ByteWriter().i32(number).i32(parameters).raw(payload).take();
  };
  const auto rows = [](const Words& words) {
    return chunkedStream(std::span<const std::int32_t>(words), Chaining::kDifferences);
  };
  const auto decoded = [] {
    RecipeBuilder recipe(kStoredParametersLabel);
    recipe.add(ClassTag::kDecoderZlib, {chainInput(0)}, "Uncompressed");
    return recipe;
  }();
  RecipeBuilder integers(kStoredParametersLabel);
  integers.addParallel(ClassTag::kChunkedZlib, {chainInput(0)}, "Uncompressed");
  RecipeBuilder scaled(kStoredParametersLabel);
  scaled.addParallel(ClassTag::kChunkedZlib, {chainInput(0)});
  scaled.add(ClassTag::kDequantization,
             {outputOf(0), external("positions"), external("outliers"), external("exponents")},
             "Dequantized");
  const ByteWriter int32 = ByteWriter().i32(-1).i32(6).u64(65536);
  add("positions", decoded, ByteWriter().u64(1).i32(9), plainStream(std::vector<std::uint64_t>{1}));
  add("outliers", decoded, ByteWriter().u64(1).i32(10), plainStream(Floats{-9}));
  add("exponents", integers, ByteWriter().u64(4).raw(int32.bytes()),
      rows({3, 0, 0, 0x3FE00000}));  // and the scale 0.5
  add("scaled", scaled, ByteWriter().u64(2).raw(int32.bytes()).u32(4).f64(-1).u8(0), rows({5, 0}));
  RecipeBuilder main("abs_x-NONSPLIT");
  main.addParallel(ClassTag::kChunkedZlib, {chainInput(0)});
  main.add(ClassTag::kDecoderZlib, {chainInput(1)});
  main.add(ClassTag::kDecoderZlib, {chainInput(1)});
  main.add(ClassTag::kDequantization,
           {outputOf(0), outputOf(1), ExternalReference{0, "scaled", "Dequantized", false}},
           "Dequantized");
  const std::int32_t number = file.addRecipe(main);
  ResultImage image = file.image();
  for (const auto& [name, bytes] : made) image[group + name] = bytes;
  Bytes& data = image[group + "0_data"];
  std::memcpy(data.data(), &number, sizeof number);
  image[group + "0_data_op"] = plainStream(std::vector<std::uint64_t>{0, 1});
  open(image);
  expectSameBits(variable(0, {}, 2), {5.0F / 16, -9});
}

}  // namespace
}  // namespace morvex::Writer

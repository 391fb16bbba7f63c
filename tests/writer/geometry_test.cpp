#include <algorithm>
#include <cmath>
#include <limits>

#include "result_session.hpp"

namespace morvex::Writer {
namespace {

constexpr std::size_t kNodes = 50'000;  // several plane chunks

class GeometryRoundTrip : public ResultSession {
 protected:
  /// A part of `count` nodes at one step.
  PartBuilder& addPart(std::size_t count, unsigned seed = 1) {
    return file_.part("part " + std::to_string(seed))
        .nodes(wave(count, seed), wave(count, seed + 1), wave(count, seed + 2));
  }

  ResultFileBuilder file_;
};

TEST_F(GeometryRoundTrip, ExactCoordinatesOfAllSizesKeepEveryBit) {
  const Floats odd{-0.0F, std::numeric_limits<float>::quiet_NaN(),
                   std::numeric_limits<float>::denorm_min(),
                   -std::numeric_limits<float>::infinity()};
  file_.part("odd").nodes(odd, Floats(4, 7.0F), {1, 2, 3, 4});
  const std::vector<std::size_t> sizes{1, 2, 3, 16383, 16384, 16385, 32768, 32769};
  for (const std::size_t size : sizes) addPart(size, static_cast<unsigned>(size));
  for (const std::uint64_t chunks : {1U, 2U, 7U}) {
    file_.tableChunks(chunks);
    open(file_);
    expectSameBits(coordinates(0, 0, 4)[0], odd);
    for (std::size_t p = 0; p < sizes.size(); ++p) {
      const auto seed = static_cast<unsigned>(sizes[p]);
      const auto read = coordinates(0, static_cast<int>(p + 1), sizes[p]);
      expectSameBits(read[0], wave(sizes[p], seed));
      expectSameBits(read[2], wave(sizes[p], seed + 2));
    }
  }
}

TEST_F(GeometryRoundTrip, UniformCoordinatesAreTheNearestMultiplesOnAnyNumberOfThreads) {
  Floats x = wave(kNodes, 1);
  x[10] = std::numeric_limits<float>::infinity();
  x[49'999] = 3e30F;
  x[20] = std::numeric_limits<float>::quiet_NaN();
  const Ints ids = someIds(40'000, 1000);
  file_.part("p").nodes(x, wave(kNodes, 2), wave(kNodes, 3)).elements(10, ids, Ids::kWindows);
  file_.coordinates(Quantisation::uniform(0.001)).tableChunks(13);
  open(file_);
  for (const int threads : {2, 3, 8, 300, 1}) {
    EXPECT_EQ(MX_setNumberOfOmpThreads(threads), 0);
    const auto read = coordinates(0, 0, kNodes);
    expectQuantised(read[0], x, 0.001);  // with outliers, unlike the others
    expectQuantised(read[1], wave(kNodes, 2), 0.001);
    expectQuantised(read[2], wave(kNodes, 3), 0.001);
    EXPECT_EQ(connectivity(0, 0, 10, 40'000), ids);
  }
}

TEST_F(GeometryRoundTrip, AdaptiveCoordinatesHaveTheirOwnSteps) {
  constexpr double kScale = 0.5;
  addPart(kNodes);
  addPart(100, 5).notAdaptive();
  file_.coordinates(Quantisation::adaptiveShift(kScale)).tableChunks(2);
  open(file_);
  const std::array<Floats, 3> written{wave(kNodes, 1), wave(kNodes, 2), wave(kNodes, 3)};
  const auto read = coordinates(0, 0, kNodes);
  std::vector<double> steps;
  for (std::size_t i = 0; i < kNodes; ++i) {
    const float magnitude =
        std::max({std::abs(written[0][i]), std::abs(written[1][i]), std::abs(written[2][i])});
    int shift = 16;
    while (shift > 0 && std::ldexp(magnitude / kScale, shift) > 1 << 20) --shift;
    steps.push_back(kScale / static_cast<double>(1 << shift));
  }
  EXPECT_NE(*std::ranges::min_element(steps), *std::ranges::max_element(steps));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (std::size_t i = 0; i < kNodes; ++i) {
      const double word = std::nearbyint(written[axis][i] / steps[i]);
      ASSERT_EQ(read[axis][i], static_cast<float>(steps[i] * word)) << axis << " " << i;
    }
  }
  expectSameBits(coordinates(0, 1, 100)[0], wave(100, 5));
  MX_finishedGeometryProcessing();
  expectSameBits(coordinates(0, 0, kNodes)[1], read[1]);
}

TEST_F(GeometryRoundTrip, BlocksAreExactWhateverThePrecision) {
  addPart(24).block({2, 3, 4, 0});
  addPart(10, 7).block({10, 1, 1, 9}, 2);
  file_.coordinates(Quantisation::uniform(1.0));
  open(file_);
  std::array<Floats, 3> read{Floats(24), Floats(24), Floats(24)};
  EXPECT_EQ(MX_getBlockStructuredCoordinates(0, 0, read[0].data(), read[1].data(), read[2].data()),
            0);
  for (unsigned axis = 0; axis < 3; ++axis) expectSameBits(read[axis], wave(24, 1 + axis));
}

TEST_F(GeometryRoundTrip, ChangingConnectivityHasAStateForEachStep) {
  const std::uint32_t times = file_.timeSet({0.0F, 1.0F});
  PartBuilder& part = file_.part("grows");
  for (int step = 0; step < 2; ++step) {
    const auto nodes = static_cast<std::size_t>(40 * (step + 1));
    part.nodes(wave(nodes, 1), wave(nodes, 2), wave(nodes, 3), step);
    part.elements(10, someIds(nodes, static_cast<int>(nodes)), Ids::kWindows, step);
  }
  file_.modelChanges(GeometryChange::kConnectivity, times);
  open(file_);
  EXPECT_EQ(MX_getGeometryAdaptivityType(0), 2);
  expectSameBits(coordinates(1, 0, 80)[0], wave(80, 1));
  expectSameBits(coordinates(0, 0, 40)[0], wave(40, 1));
  EXPECT_EQ(connectivity(1, 0, 10, 80), someIds(80, 80));
  EXPECT_EQ(connectivity(0, 0, 10, 40), someIds(40, 40));
}

TEST_F(GeometryRoundTrip, EveryElementTypeComesBackInBothEncodings) {
  const std::array<std::size_t, 30> nodesPer{1, 1,  2,  2, 3, 3,  3,  3, 6, 6,  4,  4, 8, 8,  4,
                                             4, 10, 10, 5, 5, 13, 13, 6, 6, 15, 15, 8, 8, 20, 20};
  for (const Ids ids : {Ids::kDifferences, Ids::kWindows}) {
    PartBuilder& part = addPart(1000);
    for (std::size_t type = 0; type < nodesPer.size(); ++type) {
      part.elements(static_cast<int>(type),
                    someIds(nodesPer[type] * (200 + type), 1000, static_cast<unsigned>(type)), ids);
    }
  }
  file_.tableChunks(3);
  open(file_);
  for (std::size_t type = 0; type < nodesPer.size(); ++type) {
    const Ints written = someIds(nodesPer[type] * (200 + type), 1000, static_cast<unsigned>(type));
    for (int part = 0; part < 2; ++part) {
      EXPECT_EQ(connectivity(0, part, static_cast<int>(type), written.size()), written) << type;
    }
  }
}

TEST_F(GeometryRoundTrip, PolygonsAndPolyhedraComeBack) {
  const Ints sizes{3, 5, 4};
  const Ints nodes{1, 2, 3, 3, 4, 5, 6, 7, 7, 6, 8, 9};
  const Ints faces{4, 5};
  const Ints faceNodes{3, 3, 3, 3, 4, 4, 3, 3, 4};
  const Ints solidNodes = someIds(30, 20);
  for (const Ids ids : {Ids::kDifferences, Ids::kWindows}) {
    addPart(20).nsided(sizes, nodes, ids).nfaced(faces, faceNodes, solidNodes, ids);
  }
  open(file_);
  for (int part = 0; part < 2; ++part) {
    const auto expectRead = [part](auto* question, const Ints& expected) {
      Ints values(expected.size());
      EXPECT_EQ(question(0, part, values.data()), 0);
      EXPECT_EQ(values, expected);
    };
    EXPECT_EQ(MX_getDataSizeForNSidedConnectivity(0, part), 12);
    EXPECT_EQ(MX_getDataSizeForNFacedNodesPerFace(0, part), 9);
    EXPECT_EQ(MX_getDataSizeForNFacedConnectivity(0, part), 30);
    expectRead(MX_getNSidedNumberOfNodesPerFace, sizes);
    expectRead(MX_getNSidedConnectivity, nodes);
    expectRead(MX_getNFacedNumberOfFacesPerElement, faces);
    expectRead(MX_getNFacedNodesPerFace, faceNodes);
    expectRead(MX_getNFacedConnectivity, solidNodes);
  }
}

TEST_F(GeometryRoundTrip, BorderFacesKnowTheirParents) {
  const std::vector<std::int16_t> parentTypes{26, -1, 32767, -32768};
  for (const Ids ids : {Ids::kDifferences, Ids::kWindows}) {
    addPart(20).borderFaces(10, {.connectivity = {someIds(16, 20), ids},
                                 .parentIds = {0, 7, -3, 2'000'000'000},
                                 .parentTypes = parentTypes});
  }
  open(file_);
  for (int part = 0; part < 2; ++part) {
    std::array<int, MX_ELEMENT_TYPES> counts{};
    EXPECT_EQ(MX_hasBorderFaces(0, part, counts.data()), 1);
    ASSERT_EQ(counts[10], 4);
    Ints nodes(16);
    Ints parents(4);
    std::vector<std::int16_t> types(4);
    EXPECT_EQ(MX_getBorderFacesConnByType(0, part, 10, nodes.data(), parents.data(), types.data()),
              0);
    EXPECT_EQ(nodes, someIds(16, 20));
    EXPECT_EQ(parents, (Ints{0, 7, -3, 2'000'000'000}));
    EXPECT_EQ(types, parentTypes);
  }
}

TEST_F(GeometryRoundTrip, ParticlesHaveTheirOwnPrecisionAndSteps) {
  const std::uint32_t times = file_.timeSet({0.0F, 1.0F});
  addPart(10);
  PartBuilder& particles = file_.particles();
  for (int step = 0; step < 2; ++step) {
    const auto count = static_cast<std::size_t>(30 + step);
    particles.nodes(wave(count, 1), wave(count, 2), wave(count, 3), step);
  }
  file_.particlesChange(GeometryChange::kConnectivity, times);
  file_.particleCoordinates(Quantisation::uniform(0.01));
  open(file_);
  EXPECT_EQ(MX_hasMeasuredGeometry(), 1);
  EXPECT_EQ(MX_getNumberOfMeasuredParticles(1), 31);
  expectQuantised(coordinates(1, -1, 31)[2], wave(31, 3), 0.01);
  expectQuantised(coordinates(0, -1, 30)[0], wave(30, 1), 0.01);
  expectSameBits(coordinates(0, 0, 10)[0], wave(10, 1));
}

}  // namespace
}  // namespace morvex::Writer

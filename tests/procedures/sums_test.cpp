#include "procedures/sums.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "graph.hpp"

namespace Kelbor::MathModule {
namespace {

TEST(SimpleSums, SumsInPlaceAndApart) {
  const std::vector<std::int8_t> differences{100, 100, -1, 0};
  const std::vector<std::int8_t> sums{100, -56, -57, -57};
  Graph graph;
  SimpleSums apart(graph.context());
  apart.connectInput(0, graph.source(differences));  // has a second reader: two blocks
  EXPECT_EQ(Graph::resultOf<std::int8_t>(apart), sums);

  SimpleSums inPlace(graph.context());
  SimpleSums twice(graph.context());
  inPlace.connectInput(0, graph.source(differences));
  twice.connectInput(0, inPlace.getOutputProvider(0));
  EXPECT_EQ(Graph::resultOf<std::int8_t>(twice), (std::vector<std::int8_t>{100, 44, -13, -70}));
  twice.disconnectInput(0);
}

TEST(OffsetSums, NeedsBlocksThatDivideTheValues) {
  Graph graph;
  const auto run = [&](std::uint64_t blocks) {
    OffsetSums sums(graph.context(), blocks);
    sums.connectInput(0, graph.source(std::vector<std::int32_t>{1, 2, 10, 20, 100, 200}));
    return Graph::resultOf<std::int32_t>(sums);
  };
  EXPECT_EQ(run(3), (std::vector<std::int32_t>{1, 2, 11, 22, 111, 222}));
  EXPECT_EQ(run(1), (std::vector<std::int32_t>{1, 2, 10, 20, 100, 200}));
  expectRaised<Exception>("Offset sums failed due to incompatible numbers!", [&] { run(4); });
  EXPECT_THROW(run(0), KelborDataException);
}

TEST(VectorSums, AddsOneReferenceOrTheMeanOfTwo) {
  Graph graph;
  const std::vector<std::int32_t> differences{1, 2, 3};
  DataProvider* first = graph.source(std::vector<std::int32_t>{10, 20, 2147483647});
  DataProvider* second = graph.source(std::vector<std::int32_t>{20, 31, 1});
  const auto run = [&](DataProvider* b) {
    VectorSums sums(graph.context());
    sums.connectInput(0, graph.source(differences));
    sums.connectInput(1, first);
    if (b) sums.connectInput(2, b);
    return Graph::resultOf<std::int32_t>(sums);
  };
  EXPECT_EQ(run(nullptr), (std::vector<std::int32_t>{11, 22, -2147483646}));
  EXPECT_EQ(run(first), (std::vector<std::int32_t>{11, 22, -2147483646}));
  EXPECT_EQ(run(second), (std::vector<std::int32_t>{16, 27, -1073741821}));
}

TEST(VectorSums, RefusesReferencesOfAnotherShape) {
  Graph graph;
  VectorSums sums(graph.context());
  sums.connectInput(0, graph.source(std::vector<std::int32_t>{1, 2}));
  EXPECT_THROW(Graph::resultOf<std::int32_t>(sums), std::runtime_error) << "no reference at all";
  const auto expectRefused = [&](std::size_t slot, DataProvider* reference) {
    expectRaised<Exception>(": inhomogeneous input provider(s)!",
                            [&] { sums.connectInput(slot, reference); });
  };
  expectRefused(1, graph.source(std::vector<std::int32_t>{1, 2, 3}));
  sums.disconnectInput(1);
  expectRefused(1, graph.source(std::vector<std::uint32_t>{1, 2}));
  sums.disconnectInput(1);
  sums.connectInput(1, graph.source(std::vector<std::int32_t>{1, 2}));
  expectRefused(2, graph.source(std::vector<std::int32_t>{1}));
}

TEST(TreeSums, FollowsTheEdgesAndLeavesOtherNodesAlone) {
  Graph graph;
  const auto run = [&](std::vector<std::int32_t> edges, std::vector<std::uint64_t> starts) {
    TreeSums sums(graph.context());
    sums.connectInput(0, graph.source(std::vector<std::int64_t>{1, 10, 100, 1000, 10000}));
    sums.connectInput(1, graph.source(edges));
    sums.connectInput(2, graph.source(starts));
    return Graph::resultOf<std::int64_t>(sums);
  };
  EXPECT_EQ(run({2, 0, 0, 1, 3, 3}, {0, 2}),
            (std::vector<std::int64_t>{101, 111, 100, 2000, 10000}));
  EXPECT_EQ(run({2, 0}, {}), (std::vector<std::int64_t>{1, 10, 100, 1000, 10000}));
  expectRaised<KelborDataException>(": Tree reaches outside the data!", [&] { run({2, 5}, {0}); });
}

TEST(Sums, TellTypesThatTheyHaveNoKernelFor) {
  Graph graph;
  VectorSums vector(graph.context());
  vector.connectInput(0, graph.source(std::vector<std::int16_t>{1}));
  vector.connectInput(1, graph.source(std::vector<std::int16_t>{1}));
  expectRaised<KelborDataException>(": Unhandled data type: Int16",
                                    [&] { Graph::resultOf<std::int16_t>(vector); });
  SimpleSums simple(graph.context());
  simple.connectInput(0, graph.source(std::vector<float>{1}));
  expectRaised<KelborDataException>(": Unhandled data type: Float",
                                    [&] { Graph::resultOf<float>(simple); });
  EXPECT_EQ(vector.clone(), nullptr);
  EXPECT_FALSE(vector.setParameter(kTotalNumberUncompressedElements, 1));
  EXPECT_TRUE(simple.setParameter(kTotalNumberUncompressedElements, 1));
}

}  // namespace
}  // namespace Kelbor::MathModule

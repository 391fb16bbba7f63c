#include "procedures/sums.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "graph.hpp"

namespace Kelbor::MathModule {
namespace {

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

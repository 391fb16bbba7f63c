#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "graph.hpp"
#include "procedures/id_window_chain.hpp"
#include "writer/streams.hpp"

namespace Kelbor::MathModule {
namespace {

namespace Writer = morvex::Writer;
using Ids = std::vector<std::int32_t>;

Ids reconstruct(Graph& graph, const Ids& references, const Ids& newIds, std::uint32_t method = 0) {
  IdWindowReconstruction procedure(graph.context(), method);
  procedure.connectInput(1, graph.source(newIds));
  procedure.connectInput(0, graph.source(references));
  return Graph::resultOf<std::int32_t>(procedure);
}

TEST(IdWindowReconstruction, RepeatsIdsAndRefusesWhatItCanNotRepeat) {
  Graph graph;
  EXPECT_EQ(reconstruct(graph, {0, 0, 1, 3, 0}, {7, 8, 9}), (Ids{7, 8, 8, 7, 9}));
  EXPECT_EQ(reconstruct(graph, {}, {}), Ids{});
  EXPECT_EQ(reconstruct(graph, {0}, {4, 5}, 3), Ids{4});
  expectRaised<KelborDataException>(": Id reference out of range!", [&] {
    reconstruct(graph, {0, 2}, {7});
  });
  expectRaised<std::runtime_error>("Invalid type!", [&] { reconstruct(graph, {0}, {7}, 1); });

  IdWindowReconstruction types(graph.context(), 0);
  types.connectInput(0, graph.source(Ids{0}));
  types.connectInput(1, graph.source(std::vector<std::int64_t>{7}));
  EXPECT_THROW(Graph::resultOf<std::int32_t>(types), TypeMismatchException);
  IdWindowReconstruction bytes(graph.context(), 0);
  expectRaised<KelborDataException>(": Unhandled data type: UInt8", [&] {
    bytes.connectInput(0, graph.source(std::vector<std::uint8_t>{0}));
  });
}

class IdWindowChainTest : public testing::Test {
 protected:
  const Ids ids_{5, 6, 5, 5, 7, 6, -3, 7};
  const Ids references_{0, 0, 2, 1, 0, 4, 0, 3};
  const Ids newIds_{5, 6, 7, -3};
  Graph graph_;
  DataProvider* referenceStream_ =
      graph_.source(Writer::zlibStream(Writer::bytePlanes<std::int32_t>(references_)));
  DataProvider* newIdStream_ = graph_.source(Writer::windowStream<std::int32_t>(newIds_));
};

TEST_F(IdWindowChainTest, DecodesIntoTheCallersMemoryInEitherOrderOfConnection) {
  for (const bool newIdsFirst : {false, true}) {
    IdWindowZlibDecompressionChain chain(graph_.context(), 3, std::vector<std::uint64_t>{8},
                                         DataTypes::kInt32);
    chain.connectInput(newIdsFirst ? 1 : 0, newIdsFirst ? newIdStream_ : referenceStream_);
    EXPECT_EQ(chain.hasOutputProvider(0), !newIdsFirst);
    chain.connectInput(newIdsFirst ? 0 : 1, newIdsFirst ? referenceStream_ : newIdStream_);
    Ids target(8);
    chain.setOutputBuffer(0, target.data(), target.size() * sizeof(std::int32_t));
    EXPECT_EQ(Graph::resultOf<std::int32_t>(chain), ids_);
    EXPECT_EQ(target, ids_);
  }
}

}  // namespace
}  // namespace Kelbor::MathModule

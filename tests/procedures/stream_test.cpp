#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>

#include "graph.hpp"
#include "procedures/chunked_zlib.hpp"
#include "procedures/decoder.hpp"
#include "procedures/plane_composition.hpp"
#include "procedures/window_zlib.hpp"
#include "writer/streams.hpp"

namespace Kelbor::MathModule {
namespace {

namespace Writer = morvex::Writer;
using Sizes = std::vector<std::uint64_t>;

/// Steps up and down with a few extremes among them, so that sums wrap.
template <class T>
std::vector<T> someValues(std::size_t count) {
  std::mt19937_64 random(count + sizeof(T));
  std::vector<T> values(count);
  T value = 0;
  for (T& v : values) {
    value = static_cast<T>(value + static_cast<T>(random() % 7) - 3);
    v = random() % 50 == 0 ? std::numeric_limits<T>::min() : value;
  }
  return values;
}

template <class T>
class StreamOf : public testing::Test {};
using StreamTypes =
    testing::Types<std::int16_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(StreamOf, StreamTypes);

TYPED_TEST(StreamOf, EveryShapeOfPlaneChunksComesBack) {
  constexpr std::size_t kChunkValues = 64;
  for (const std::size_t count : {1U, 63U, 64U, 65U, 128U, 1000U}) {
    const std::vector<TypeParam> values = someValues<TypeParam>(count);
    for (const std::size_t chunkValues : {kChunkValues, std::size_t{0}, std::size_t{100000}}) {
      const auto chunkBytes = static_cast<std::uint32_t>(chunkValues * sizeof(TypeParam));
      for (const bool differences : {true, false}) {
        Graph graph;
        const Writer::Bytes stream = Writer::planeStream<TypeParam>(
            values, differences ? Writer::Chaining::kDifferences : Writer::Chaining::kNone,
            chunkBytes);
        std::unique_ptr<DataProcedure> procedure;
        const DataType type = dataTypeOf<TypeParam>();
        if (differences) {
          procedure = std::make_unique<ChunkedZlibDecompressionWrapper>(
              graph.context(), Sizes{count}, type, chunkBytes);
        } else {
          procedure = std::make_unique<ChunkedZlibTreeDecompressionWrapper>(
              graph.context(), Sizes{count}, type, chunkBytes);
        }
        procedure->connectInput(0, graph.source(stream));
        EXPECT_EQ(Graph::resultOf<TypeParam>(*procedure), values)
            << count << " values, " << chunkBytes << " bytes a chunk";
      }
    }
    for (const std::uint32_t windowBytes : {1U, 7U, 536870912U}) {
      Graph graph;
      WindowZlibDecompression window(graph.context(), Sizes{count}, dataTypeOf<TypeParam>(),
                                     windowBytes);
      window.connectInput(0, graph.source(Writer::windowStream<TypeParam>(values)));
      EXPECT_EQ(Graph::resultOf<TypeParam>(window), values) << count << " in " << windowBytes;
    }
  }
}

TEST(ChunkedStream, ShorterStreamShrinksTheOutputAndDamageFailsTheRead) {
  Graph graph;
  const std::vector<std::int32_t> values = someValues<std::int32_t>(100);
  const Writer::Bytes stream =
      Writer::planeStream<std::int32_t>(values, Writer::Chaining::kDifferences);
  // One plane chunk in the stream, two in the output: the second brings nothing more.
  ChunkedZlibDecompressionWrapper shorter(graph.context(), Sizes{150}, DataTypes::kInt32, 400);
  shorter.connectInput(0, graph.source(stream));
  EXPECT_EQ(Graph::resultOf<std::int32_t>(shorter), values);

  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, stream.size() / 2}) {
    ChunkedZlibDecompressionWrapper cut(graph.context(), Sizes{100}, DataTypes::kInt32, 64);
    cut.connectInput(0, graph.source(Writer::Bytes(stream.data(), stream.data() + length)));
    expectRaised<Exception>(kPreparationFailed, [&] { Graph::resultOf<std::int32_t>(cut); });
    expectRaised<Exception>(kPreparationFailed, [&] { Graph::resultOf<std::int32_t>(cut); });
  }
}

TEST(ChunkedStream, RefusesWhatItCanNotDecode) {
  Graph graph;
  const auto make = [&](DataType type, std::uint32_t chunkBytes) {
    return std::make_unique<ChunkedZlibDecompressionWrapper>(graph.context(), Sizes{4}, type,
                                                             chunkBytes);
  };
  expectRaised<Exception>(": chunkSizeInBytes>=2^31",
                          [&] { make(DataTypes::kInt32, 0x80000000U); });
  expectRaised<Exception>(": windowSizeInBytes>=2^31", [&] {
    WindowZlibDecompression(graph.context(), Sizes{4}, DataTypes::kInt32, 0xFFFFFFFFU);
  });
  expectRaised<Exception>(": targetDimensions==NULL", [&] {
    ChunkedZlibDecompressionWrapper(graph.context(), {}, DataTypes::kInt32, 64);
  });

  const auto procedure = make(DataTypes::kUInt16, 64);
  expectRaised<std::invalid_argument>(": Int32!=char", [&] {
    procedure->connectInput(0, graph.source(std::vector<std::int32_t>{1}));
  });
  procedure->connectInput(0, graph.source(std::vector<std::uint8_t>{1}));  // the slot is free again
  expectRaised<KelborDataException>(": Unhandled data type: UInt16",
                                    [&] { Graph::resultOf<std::uint16_t>(*procedure); });
  EXPECT_THROW(make(DataTypes::kInt32, 64)->process(0), std::runtime_error);
}

TEST(WindowStream, EmptyStreamGivesZerosAndUnfinishedOneFails) {
  Graph graph;
  WindowZlibDecompression empty(graph.context(), Sizes{3}, DataTypes::kInt32, 1024);
  empty.connectInput(0, graph.source(Writer::Bytes{}));
  EXPECT_EQ(Graph::resultOf<std::int32_t>(empty), (std::vector<std::int32_t>{0, 0, 0}));

  const std::vector<std::int32_t> values = someValues<std::int32_t>(50);
  const Writer::Bytes stream = Writer::windowStream<std::int32_t>(values);
  const auto expectFailure = [&](std::uint64_t count, std::uint32_t window, std::size_t length) {
    WindowZlibDecompression procedure(graph.context(), Sizes{count}, DataTypes::kInt32, window);
    procedure.connectInput(0, graph.source(Writer::Bytes(stream.data(), stream.data() + length)));
    EXPECT_THROW(Graph::resultOf<std::int32_t>(procedure), Exception) << length;
  };
  for (std::size_t length = 1; length < stream.size(); ++length) {
    expectFailure(50, 1024, length);
    expectFailure(50, 3, length);
  }
  expectFailure(49, 1024, stream.size());
  expectFailure(0, 1024, stream.size());
  expectFailure(50, 0, stream.size());
}

TEST(Decoder, InflatesIntoItsTypeAndSaysWhyItFails) {
  Graph graph;
  const std::vector<double> values{1.5, -2.5, 1e300};
  const Writer::Bytes stream = Writer::plainStream(values);
  const auto decoder = [&](std::uint64_t size, DataType type, const Writer::Bytes& bytes) {
    auto procedure = std::make_unique<DecoderZlib>(graph.context(), size, type);
    procedure->connectInput(0, graph.source(bytes));
    return procedure;
  };
  EXPECT_EQ(Graph::resultOf<double>(*decoder(24, DataTypes::kDouble, stream)), values);
  EXPECT_EQ(Graph::resultOf<double>(*decoder(80, DataTypes::kDouble, stream)), values)
      << "a shorter stream shrinks the output";
  EXPECT_EQ(Graph::resultOf<std::int32_t>(*decoder(8, DataTypes::kInt32, {})),
            (std::vector<std::int32_t>{0, 0}));
  expectRaised<KelborDataException>(" decompression failed! Reason: buffer error", [&] {
    Graph::resultOf<double>(*decoder(16, DataTypes::kDouble, stream));
  });
  Writer::Bytes damaged = stream;
  damaged.back() ^= std::byte{1};
  expectRaised<KelborDataException>(" decompression failed! Reason: data error", [&] {
    Graph::resultOf<double>(*decoder(24, DataTypes::kDouble, damaged));
  });
  expectRaised<KelborDataException>(": Unhandled data type: Int16", [&] {
    Graph::resultOf<std::int16_t>(*decoder(24, DataTypes::kInt16, stream));
  });
}

TEST(Decoder, CloneIsByteTypedAndCountsBytes) {
  Graph graph;
  const DecoderZlib original(graph.context(), 999, DataTypes::kDouble);
  const auto clone = original.clone();
  EXPECT_TRUE(clone->setParameter(kTotalNumberUncompressedElements, 2));
  clone->connectInput(0, graph.source(Writer::plainStream(std::vector<std::uint8_t>{5, 6})));
  EXPECT_EQ(Graph::resultOf<std::uint8_t>(*clone), (std::vector<std::uint8_t>{5, 6}));
}

TEST(PlaneComposition, FollowsAnInputThatShrinksAndRefusesHalfValues) {
  Graph graph;
  const std::vector<std::int16_t> values{1, -2, 300};
  DecoderZlib decoder(graph.context(), 100, DataTypes::kUInt8);
  BytePlaneComposition composition(graph.context(), DataTypes::kInt16);
  decoder.connectInput(0,
                       graph.source(Writer::zlibStream(Writer::bytePlanes<std::int16_t>(values))));
  composition.connectInput(0, decoder.getOutputProvider(0));
  EXPECT_EQ(Graph::resultOf<std::int16_t>(composition), values);
  composition.disconnectInput(0);

  BytePlaneComposition halves(graph.context(), DataTypes::kInt16);
  expectRaised<Exception>(": dataSize%numberOfBytesPerValue!=0", [&] {
    halves.connectInput(0, graph.source(std::vector<std::uint8_t>{1, 2, 3}));
  });
  expectRaised<std::invalid_argument>(
      ": Float!=Uint8", [&] { halves.connectInput(0, graph.source(std::vector<float>{1})); });
}

}  // namespace
}  // namespace Kelbor::MathModule

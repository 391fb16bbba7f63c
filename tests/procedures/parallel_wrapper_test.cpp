#include "procedures/parallel_wrapper.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <stdexcept>

#include "graph.hpp"
#include "platform/thread_count.hpp"
#include "procedures/chunked_zlib.hpp"
#include "procedures/dequantization.hpp"
#include "procedures/factory_table.hpp"
#include "procedures/sums.hpp"
#include "recipes/parameter_blocks.hpp"
#include "writer/streams.hpp"

namespace Kelbor::MathModule {
namespace {

namespace Writer = morvex::Writer;
using Values = std::vector<std::int32_t>;
using Sizes = std::vector<std::uint64_t>;

Values someValues(std::size_t count) {
  Values values(count);
  std::iota(values.begin(), values.end(), -5);
  for (std::size_t i = 0; i < count; i += 7) values[i] = static_cast<std::int32_t>(i * i);
  return values;
}

class ParallelWrapperTest : public testing::Test {
 protected:
  ~ParallelWrapperTest() override { Platform::Detail::forgetThreadCount(); }

  std::unique_ptr<OmpDecompressionWrapper> chunked(
      std::uint64_t count, std::uint32_t marker = morvex::kChunkTableMarker) {
    return std::make_unique<OmpDecompressionWrapper>(
        std::make_unique<ChunkedZlibDecompressionWrapper>(graph_.context(), Sizes{count},
                                                          DataTypes::kInt32, 256),
        Sizes{count}, marker);
  }
  Values decode(const Writer::Bytes& payload, std::uint64_t count) {
    const auto wrapper = chunked(count);
    wrapper->connectInput(0, graph_.source(payload));
    return Graph::resultOf<std::int32_t>(*wrapper);
  }

  Graph graph_;
};

TEST_F(ParallelWrapperTest, EveryTeamWritesTheSameBitsIntoTheCallersMemory) {
  const Values values = someValues(200'000);  // enough for teams of 12
  for (const std::uint64_t chunks : {1U, 2U, 7U, 64U}) {
    const Writer::Bytes payload = Writer::chunkedStream<std::int32_t>(
        values, Writer::Chaining::kDifferences, {.planeChunkBytes = 256, .tableChunks = chunks});
    for (const int threads : {1, 2, 3, 8, 300}) {
      Platform::setThreadCount(threads);
      const auto wrapper = chunked(values.size());
      wrapper->connectInput(0, graph_.source(payload));
      Values target(values.size());
      wrapper->setOutputBuffer(0, target.data(), target.size() * sizeof(std::int32_t));
      const ScopedConstData<std::int32_t> result(
          dynamic_cast<DataProvider*>(wrapper->getOutputProvider(0)));
      EXPECT_EQ(result.data(), target.data());
      EXPECT_EQ(target, values) << chunks << " chunks, " << threads << " threads";
    }
  }
}

TEST_F(ParallelWrapperTest, ChunkTableIsHeldAgainstTheInputAndTheTarget) {
  const Values values = someValues(10);
  const Writer::Bytes chunk =
      Writer::planeStream<std::int32_t>(values, Writer::Chaining::kDifferences, 256);
  const std::vector<Writer::Bytes> chunks{chunk};
  EXPECT_EQ(decode(Writer::chunkTable(chunks, Sizes{10}), 10), values);
  EXPECT_EQ(decode(Writer::chunkTable({}, {}), 0), Values{});

  const char* wrongSum = "targetNumberOfValues != sumOfChunkSizes!";
  for (const std::uint64_t count : {std::uint64_t{9}, std::uint64_t{11}, ~std::uint64_t{0}}) {
    expectRaised<std::runtime_error>(wrongSum,
                                     [&] { decode(Writer::chunkTable(chunks, Sizes{count}), 10); });
  }
  const std::vector<Writer::Bytes> twoChunks{chunk, chunk};
  expectRaised<std::runtime_error>(wrongSum, [&] {  // a sum that would wrap to the right number
    decode(Writer::chunkTable(twoChunks, Sizes{11, ~std::uint64_t{0}}), 10);
  });

  const Writer::Bytes whole = Writer::chunkTable(chunks, Sizes{10});
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THROW(decode(Writer::Bytes(whole.data(), whole.data() + length), 10), Kelbor::Exception)
        << "length " << length;
  }
  Writer::Bytes hugeCount = whole;
  hugeCount[7] = std::byte{0x40};
  EXPECT_THROW(decode(hugeCount, 10), KelborDataException);
  Writer::Bytes hugeChunk = whole;
  hugeChunk[15] = std::byte{0xFF};
  EXPECT_THROW(decode(hugeChunk, 10), KelborDataException);
}

TEST_F(ParallelWrapperTest, OneBadChunkFailsTheReadAndSparesTheOthers) {
  Platform::setThreadCount(2);
  const Values values = someValues(30);
  const auto part = [&](std::size_t from) {
    return Writer::planeStream<std::int32_t>(std::span(values).subspan(from, 10),
                                             Writer::Chaining::kDifferences, 256);
  };
  const std::vector<Writer::Bytes> chunks{part(0), Writer::Bytes{std::byte{1}}, part(20)};
  const auto wrapper = chunked(30);
  wrapper->connectInput(0, graph_.source(Writer::chunkTable(chunks, Sizes{10, 10, 10})));
  Values target(30, -1);
  wrapper->setOutputBuffer(0, target.data(), target.size() * sizeof(std::int32_t));
  expectRaised<Exception>(kPreparationFailed, [&] { Graph::resultOf<std::int32_t>(*wrapper); });
  EXPECT_TRUE(std::equal(target.begin(), target.begin() + 10, values.begin()));
  EXPECT_TRUE(std::equal(target.begin() + 20, target.end(), values.begin() + 20));
}

TEST_F(ParallelWrapperTest, MarkerDecidesWhetherThereIsATable) {
  const Values values = someValues(10);
  const auto wrapper = chunked(10, /*marker=*/0);
  wrapper->connectInput(0, graph_.source(Writer::planeStream<std::int32_t>(
                               values, Writer::Chaining::kDifferences, 256)));
  EXPECT_EQ(Graph::resultOf<std::int32_t>(*wrapper), values);
}

TEST_F(ParallelWrapperTest, InnerProceduresMustCloneAndTellTheirCount) {
  const auto readWith = [&](std::unique_ptr<DataProcedure> inner) {
    OmpDecompressionWrapper wrapper(std::move(inner), Sizes{1}, 0);
    wrapper.connectInput(0, graph_.source(Values{5}));
    wrapper.connectInput(1, graph_.source(Values{5}));
    expectRaised<Exception>(kPreparationFailed, [&] { Graph::resultOf<std::int32_t>(wrapper); });
  };
  readWith(std::make_unique<VectorSums>(graph_.context()));  // no clone
  readWith(std::make_unique<TreeSums>(graph_.context()));    // doesn't know the parameter
  EXPECT_THROW(OmpDecompressionWrapper(nullptr, Sizes{1}, 0), std::invalid_argument);
  EXPECT_THROW(OmpDecompressionWrapper(std::make_unique<SimpleSums>(graph_.context()), Sizes{}, 0),
               std::invalid_argument);
}

TEST_F(ParallelWrapperTest, EveryTagMakesItsProcedureFromItsParameters) {
  using Writer::ByteWriter;
  struct Row {
    std::int32_t tag;
    ByteWriter parameters;
  };
  const std::vector<Row> rows{{ClassTags::kChunkedZlib, ByteWriter().u32(6).u64(64)},
                              {ClassTags::kSimpleSums, ByteWriter()},
                              {ClassTags::kIdWindowChain, ByteWriter().u32(3).u32(6)},
                              {ClassTags::kDequantization, ByteWriter().u32(0).f64(0.5).u8(0)},
                              {ClassTags::kDecoderZlib, ByteWriter().u32(6)},
                              {ClassTags::kVectorSums, ByteWriter()},
                              {ClassTags::kTreeSums, ByteWriter()},
                              {ClassTags::kChunkedZlibTree, ByteWriter().u32(6).u64(64)},
                              {ClassTags::kOffsetSums, ByteWriter().u64(2)}};
  const Sizes sizes{4};
  for (const Row& row : rows) {
    // Inside a wrapper, whose own parameter, the marker, comes first.
    const Writer::Bytes inner = ByteWriter(morvex::MetadataVersion{}).i32(row.tag).take();
    const Writer::Bytes classStream = ByteWriter(morvex::MetadataVersion{})
                                          .i32(ClassTags::kParallelWrapper)
                                          .u64(inner.size())
                                          .raw(inner)
                                          .take();
    const auto create = [&](const ByteWriter& values) {
      morvex::Deserializer stream(graph_.context(), classStream);
      stream.classCreators = &allClassCreators();
      const Parameters parameters(values);
      morvex::Deserializer block = parameters.stream();
      auto procedure = morvex::readFactory(stream)->create(sizes, block);
      EXPECT_THROW((void)block.readU8(), morvex::InternalError) << "parameters are left over";
      return procedure;
    };
    ByteWriter whole = ByteWriter().u32(0);
    whole.raw(row.parameters.bytes());
    EXPECT_NE(create(whole), nullptr) << row.tag;
    Writer::Bytes cut = whole.bytes();
    cut.pop_back();
    EXPECT_THROW((void)create(ByteWriter().raw(cut)), morvex::InternalError) << row.tag;
  }
}

TEST_F(ParallelWrapperTest, NestingHasAnEnd) {
  Writer::Bytes block = Writer::ByteWriter(morvex::MetadataVersion{}).i32(1001).take();
  for (int depth = 0; depth < 1000; ++depth) {
    block = Writer::ByteWriter(morvex::MetadataVersion{})
                .i32(ClassTags::kParallelWrapper)
                .u64(block.size())
                .raw(block)
                .take();
  }
  morvex::Deserializer stream(graph_.context(), block);
  stream.classCreators = &allClassCreators();
  const Parameters parameters(Writer::ByteWriter().raw(Writer::Bytes(10000)));
  morvex::Deserializer values = parameters.stream();
  EXPECT_THROW((void)morvex::readFactory(stream)->create(Sizes{1}, values), morvex::InternalError);
}

}  // namespace
}  // namespace Kelbor::MathModule

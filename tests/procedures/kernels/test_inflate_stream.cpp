#include <algorithm>
#include <array>

#include "kernel_test_support.hpp"
#include "procedures/kernels/inflate_stream.hpp"
#include "procedures/kernels/zigzag.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Bytes = std::vector<std::byte>;
using Platform::StreamInput;
using Testing::deflated;
using Testing::randomBytes;
using Testing::sameBits;

/// A stream of plane chunks; what belongs to a chunk is flushed behind it.
template <class U>
Bytes chunkStream(std::span<const U> numbers, const PlaneChunkGeometry& geometry) {
  Bytes planes;
  const auto step = static_cast<std::size_t>(geometry.valuesPerChunk);
  for (std::size_t at = 0; at < numbers.size(); at += step) {
    const auto chunk = numbers.subspan(at, std::min(step, numbers.size() - at));
    for (std::size_t p = 0; p < sizeof(U); ++p) {
      for (const U number : chunk) planes.push_back(static_cast<std::byte>(number >> (8 * p)));
    }
  }
  return deflated(planes, geometry.chunkBytes);
}

template <class U>
class PlaneStreams : public testing::Test {};
using Widths = testing::Types<std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(PlaneStreams, Widths);

TYPED_TEST(PlaneStreams, WindowsOfAShortStreamUseTheStrideOfWhatCame) {
  using U = TypeParam;
  const std::vector<U> numbers = Testing::randomValues<U>(77, 6);
  std::vector<U> expected(100, U{9});
  U running = 0;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    expected[i] = running = static_cast<U>(running + undoZigzag(numbers[i]));
  }
  const Bytes stream = chunkStream<U>(numbers, PlaneChunkGeometry::of(100000, sizeof(U), 77));
  for (const std::uint32_t window : {1u, 50u, 1000u}) {
    std::vector<U> values(expected.size(), U{9});
    Bytes swap(values.size() * sizeof(U));
    const InflateResult result = decodeWindowedPlanes<U>(stream, values, swap, window);
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.decodedBytes, 77 * sizeof(U));
    EXPECT_TRUE(sameBits(values, expected));
  }
}

TEST(LongStreams, AreFetchedOnceAndFailWhereTheyCanNotBeFetched) {
  std::vector<std::uint32_t> numbers = Testing::randomValues<std::uint32_t>(900'000, 1);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i / 20'000 % 3 == 0) numbers[i] = 7;  // stored blocks between others
  }
  const auto geometry = PlaneChunkGeometry::of(65536, 4, numbers.size());
  const Bytes stream = chunkStream<std::uint32_t>(numbers, geometry);
  Bytes window(262'144);
  ASSERT_GT(stream.size(), 2 * window.size());
  for (const bool isFetched : {true, false}) {
    std::uint64_t fetched = 0;
    const auto fetch = [&](std::uint64_t from, std::span<std::byte> target) {
      std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(from), target.size(),
                  target.begin());
      fetched += target.size();
      return isFetched;
    };
    StreamInput input(stream.size(), fetch, window);
    Bytes swap(geometry.swapBytes);
    std::vector<std::uint32_t> values(numbers.size());
    const InflateResult result =
        decodePlaneChunks<std::uint32_t>(input, values, swap, geometry, PlaneMode::Plain);
    EXPECT_TRUE(result.streamReady);
    EXPECT_EQ(result.ok, isFetched);
    if (!isFetched) continue;
    EXPECT_EQ(fetched, stream.size()) << "no engine gave up half-way";
    for (auto& number : numbers) number = undoZigzag(number);
    EXPECT_TRUE(sameBits(values, numbers));
  }
}

TEST(PlaneChunkGeometry, CountsChunksAndBoundsTheirInputAndSwap) {
  using Numbers = std::array<std::uint64_t, 6>;
  const auto of = [](std::uint32_t chunkSize, std::size_t width, std::uint64_t count) {
    const auto g = PlaneChunkGeometry::of(chunkSize, width, count);
    return Numbers{g.valuesPerChunk, g.chunkBytes, g.inputBound,
                   g.chunkCount,     g.remainder,  g.swapBytes};
  };
  EXPECT_EQ(of(65536, 4, 32768), (Numbers{16384, 65536, 65667 + 12, 2, 0, 65536}));
  EXPECT_EQ(of(65536, 8, 10), (Numbers{8192, 65536, 65667 + 12, 1, 10, 80}));
  EXPECT_EQ(of(103, 4, 26), (Numbers{25, 100, 112, 2, 1, 100}));
  EXPECT_EQ(of(3, 8, 5), (Numbers{1, 8, 20, 5, 0, 8})) << "a chunk has a value";
  EXPECT_EQ(of(65536, 4, 0), (Numbers{16384, 65536, 65667 + 12, 0, 0, 0}));
  // A file may claim any size of its chunks.
  EXPECT_EQ(of(0x7FFFFFFF, 4, 3), (Numbers{536870911, 2147483644, 2151778611 + 12, 1, 3, 12}));
}

TEST(StreamsWithADictionary, FailInAllThreeLoops) {
  const Bytes inflated = randomBytes(400, 11);
  const Bytes stream = deflated(inflated, 400, {.dictionary = inflated});
  Bytes output(400);
  EXPECT_EQ(inflatePlain(stream, output).code, Z_NEED_DICT);
  EXPECT_FALSE(inflatePlain(stream, output).ok());
  std::vector<std::uint32_t> values(100);
  Bytes swap(400);
  EXPECT_FALSE(decodeWindowedPlanes<std::uint32_t>(stream, values, swap, 1000).ok);
  StreamInput input(stream);
  EXPECT_FALSE(decodePlaneChunks<std::uint32_t>(
                   input, values, swap, PlaneChunkGeometry::of(400, 4, 100), PlaneMode::Plain)
                   .ok);
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels

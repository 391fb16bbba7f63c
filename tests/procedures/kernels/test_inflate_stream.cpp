#include <algorithm>
#include <array>

#include "kernel_test_support.hpp"
#include "platform/zlib_stream.hpp"
#include "procedures/kernels/inflate_stream.hpp"
#include "procedures/kernels/zigzag.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Bytes = std::vector<std::byte>;
using Platform::StreamInput;
using Testing::deflated;
using Testing::randomBytes;
using Testing::sameBits;
using Testing::zlibBytes;

/// Smooth numbers with a jump here and there, as stored: differences, zigzag.
template <class U>
std::vector<U> storedNumbers(std::size_t count, std::uint64_t seed) {
  std::vector<U> numbers = Testing::randomValues<U>(count, seed);
  for (std::size_t i = 0; i < count; ++i) {
    if (i % 61 != 60) numbers[i] = static_cast<U>(numbers[i] % 23);
  }
  return numbers;
}

/// A stream of plane chunks; what belongs to a chunk is flushed behind it, or all of it at the end.
template <class U>
Bytes chunkStream(std::span<const U> numbers, const PlaneChunkGeometry& geometry,
                  bool isFlushed = true) {
  Bytes planes;
  const auto step = static_cast<std::size_t>(geometry.valuesPerChunk);
  for (std::size_t at = 0; at < numbers.size(); at += step) {
    const auto chunk = numbers.subspan(at, std::min(step, numbers.size() - at));
    for (std::size_t p = 0; p < sizeof(U); ++p) {
      for (const U number : chunk) planes.push_back(static_cast<std::byte>(number >> (8 * p)));
    }
  }
  return deflated(planes, isFlushed ? geometry.chunkBytes : planes.size());
}

/// The definition to the letter: as many inflate calls as chunks, whatever their answers.
template <class U>
InflateResult decodeByDefinition(const Bytes& input, std::vector<U>& output,
                                 const PlaneChunkGeometry& g, PlaneMode mode) {
  Platform::InflateStream stream;
  z_stream& z = stream.get();
  z.next_in = zlibBytes(input.data());
  Bytes swap(g.swapBytes);
  InflateResult result{.streamReady = true, .ok = true, .decodedBytes = 0};
  U running = 0;
  std::size_t at = 0;
  for (std::uint64_t c = 0; c < g.chunkCount; ++c) {
    const std::size_t count =
        c + 1 == g.chunkCount && g.remainder != 0 ? g.remainder : g.valuesPerChunk;
    z.next_out = zlibBytes(swap.data());
    z.avail_out = static_cast<uInt>(count * sizeof(U));
    const auto left =
        static_cast<std::uint64_t>(zlibBytes(input.data()) + input.size() - z.next_in);
    z.avail_in = static_cast<uInt>(std::min(left, g.inputBound));
    const int code = ::inflate(&z, Z_NO_FLUSH);
    result.decodedBytes += count * sizeof(U) - z.avail_out;
    if (code < 0) result.ok = false;
    for (std::size_t i = 0; code >= 0 && i < count; ++i) {
      U number = 0;
      for (std::size_t p = 0; p < sizeof(U); ++p) {
        number = static_cast<U>(number | static_cast<U>(swap[p * count + i]) << (8 * p));
      }
      number = undoZigzag(number);
      if (mode == PlaneMode::RunningSum) number = running = static_cast<U>(running + number);
      output[at + i] = number;
    }
    at += count;
  }
  return result;
}

/// Same answer, and where it is good the same values as far as decoded bytes reach: from memory,
/// and through the smallest window that the loop can do with. Gives the number of those bytes.
template <class U>
std::uint64_t expectAsDefined(const Bytes& stream, std::size_t count,
                              const PlaneChunkGeometry& geometry, PlaneMode mode) {
  std::vector<U> expected(count);
  const InflateResult wanted = decodeByDefinition(stream, expected, geometry, mode);
  Bytes window(std::max<std::size_t>(geometry.inputBound, 4096));
  const auto fetch = [&](std::uint64_t from, std::span<std::byte> target) {
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(from), target.size(), target.begin());
    return true;
  };
  for (StreamInput input : {StreamInput(stream), StreamInput(stream.size(), fetch, window)}) {
    std::vector<U> actual(count);
    Bytes swap(geometry.swapBytes);
    const InflateResult got = decodePlaneChunks<U>(input, actual, swap, geometry, mode);
    EXPECT_TRUE(got.streamReady);
    EXPECT_EQ(got.ok, wanted.ok);
    if (!got.ok || !wanted.ok) continue;
    EXPECT_EQ(got.decodedBytes, wanted.decodedBytes);
    const std::size_t valid = wanted.decodedBytes / sizeof(U);
    EXPECT_TRUE(sameBits(std::span<const U>(actual).first(valid),
                         std::span<const U>(expected).first(valid)));
  }
  return wanted.decodedBytes;
}

template <class U>
class PlaneStreams : public testing::Test {};
using Widths = testing::Types<std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(PlaneStreams, Widths);

TYPED_TEST(PlaneStreams, ChunksOfEverySizeDecodeAsDefined) {
  using U = TypeParam;
  for (const std::uint32_t chunkSize : {0u, 1u, 8u, 24u, 1000u, 65536u}) {
    for (const std::size_t count : {0u, 1u, 2u, 3u, 124u, 125u, 126u, 250u, 8192u, 20001u}) {
      SCOPED_TRACE(testing::Message() << chunkSize << ' ' << count);
      const auto geometry = PlaneChunkGeometry::of(chunkSize, sizeof(U), count);
      const Bytes stream = chunkStream<U>(storedNumbers<U>(count, 1), geometry);
      for (const PlaneMode mode : {PlaneMode::RunningSum, PlaneMode::Plain}) {
        EXPECT_EQ(expectAsDefined<U>(stream, count, geometry, mode), count * sizeof(U));
      }
    }
  }
}

TYPED_TEST(PlaneStreams, ChunksThatTheInputBoundCutsShortDecodeAsDefined) {
  using U = TypeParam;
  // One flush for all: the code tables of the stream stand in the way of the first small chunks.
  constexpr std::size_t kCount = 3000;
  const auto geometry = PlaneChunkGeometry::of(16, sizeof(U), kCount);
  const Bytes stream = chunkStream<U>(storedNumbers<U>(kCount, 3), geometry, /*isFlushed=*/false);
  EXPECT_LT(expectAsDefined<U>(stream, kCount, geometry, PlaneMode::RunningSum),
            kCount * sizeof(U));
}

TYPED_TEST(PlaneStreams, EveryTruncationAndFlippedByteDecodesAsDefined) {
  using U = TypeParam;
  constexpr std::size_t kCount = 150;
  const auto geometry = PlaneChunkGeometry::of(64 * sizeof(U), sizeof(U), kCount);
  const Bytes stream = chunkStream<U>(storedNumbers<U>(kCount, 2), geometry);
  for (const PlaneMode mode : {PlaneMode::RunningSum, PlaneMode::Plain}) {
    for (std::size_t at = 0; at <= stream.size(); ++at) {
      SCOPED_TRACE(at);
      const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(at));
      expectAsDefined<U>(cut, kCount, geometry, mode);
      if (at < 2 || at == stream.size()) continue;
      Bytes flipped = stream;
      flipped[at] ^= std::byte{0x24};
      expectAsDefined<U>(flipped, kCount, geometry, mode);
    }
  }
}

TYPED_TEST(PlaneStreams, WindowsOfAShortStreamUseTheStrideOfWhatCame) {
  using U = TypeParam;
  const std::vector<U> numbers = storedNumbers<U>(77, 6);
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

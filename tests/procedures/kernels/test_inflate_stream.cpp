#include <zlib.h>

#include <algorithm>
#include <initializer_list>
#include <random>

#include "kernel_test_support.hpp"
#include "platform/zlib_stream.hpp"
#include "procedures/kernels/inflate_stream.hpp"
#include "procedures/kernels/zigzag.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Bytes = std::vector<std::byte>;
using Testing::randomBytes;
using Testing::sameBits;

Bytef* zlibBytes(const std::byte* bytes) {
  return reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes));
}

/// One stream over `inflated`. With `pieceBytes`, what belongs to a piece is flushed behind it, so
/// that the piece can be inflated from its own share of the stream.
Bytes deflated(const Bytes& inflated, std::size_t pieceBytes = 0, const Bytes& dictionary = {}) {
  Platform::DeflateStream stream;
  z_stream& z = stream.get();
  if (!dictionary.empty()) {
    EXPECT_EQ(::deflateSetDictionary(&z, zlibBytes(dictionary.data()),
                                     static_cast<uInt>(dictionary.size())),
              Z_OK);
  }
  Bytes result(inflated.size() * 16 + 1000);
  z.next_out = zlibBytes(result.data());
  z.avail_out = static_cast<uInt>(result.size());
  const std::size_t piece = pieceBytes == 0 ? inflated.size() : pieceBytes;
  for (std::size_t at = 0; at < inflated.size(); at += piece) {
    z.next_in = zlibBytes(inflated.data() + at);
    z.avail_in = static_cast<uInt>(std::min(piece, inflated.size() - at));
    EXPECT_EQ(::deflate(&z, pieceBytes == 0 ? Z_NO_FLUSH : Z_SYNC_FLUSH), Z_OK);
  }
  EXPECT_EQ(::deflate(&z, Z_FINISH), Z_STREAM_END);
  return {result.begin(), result.end() - static_cast<std::ptrdiff_t>(z.avail_out)};
}

/// Smooth numbers with a jump here and there, as stored: differences, zigzag.
template <class U>
std::vector<U> storedNumbers(std::size_t count, std::uint64_t seed) {
  std::vector<U> numbers = Testing::randomValues<U>(count, seed);
  for (std::size_t i = 0; i < count; ++i) {
    if (i % 61 != 60) numbers[i] = static_cast<U>(numbers[i] % 23);
  }
  return numbers;
}

template <class U>
Bytes planesOf(std::span<const U> numbers) {
  Bytes planes;
  for (std::size_t p = 0; p < sizeof(U); ++p) {
    for (const U number : numbers) planes.push_back(static_cast<std::byte>(number >> (8 * p)));
  }
  return planes;
}

template <class U>
Bytes chunkedPlanesOf(const std::vector<U>& numbers, const PlaneChunkGeometry& geometry) {
  Bytes planes;
  const std::span<const U> all(numbers);
  const auto step = static_cast<std::size_t>(geometry.valuesPerChunk);
  for (std::size_t at = 0; at < all.size(); at += step) {
    const Bytes chunk = planesOf(all.subspan(at, std::min(step, all.size() - at)));
    planes.insert(planes.end(), chunk.begin(), chunk.end());
  }
  return planes;
}

template <class U>
std::vector<U> decodedNumbers(std::vector<U> numbers, PlaneMode mode) {
  U running = 0;
  for (U& number : numbers) {
    number = undoZigzag(number);
    if (mode == PlaneMode::RunningSum) number = running = static_cast<U>(running + number);
  }
  return numbers;
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

template <class U>
InflateResult decode(const Bytes& input, std::vector<U>& output, const PlaneChunkGeometry& geometry,
                     PlaneMode mode) {
  Bytes swap(geometry.swapBytes);
  Platform::StreamInput whole(input);
  const InflateResult result = decodePlaneChunks<U>(whole, output, swap, geometry, mode);

  // The smallest window that the loop can do with gives the same.
  Bytes window(std::max<std::size_t>(geometry.inputBound, 4096));
  const auto fetch = [&input](std::uint64_t from, std::span<std::byte> target) {
    std::copy_n(input.begin() + static_cast<std::ptrdiff_t>(from), target.size(), target.begin());
    return true;
  };
  Platform::StreamInput pieces(input.size(), fetch, window);
  std::vector<U> twin(output.size());
  const InflateResult other = decodePlaneChunks<U>(pieces, twin, swap, geometry, mode);
  EXPECT_EQ(other.ok, result.ok);
  if (!result.ok) return result;
  EXPECT_EQ(other.decodedBytes, result.decodedBytes);
  const std::size_t count = result.decodedBytes / sizeof(U);
  EXPECT_TRUE(
      std::equal(twin.begin(), twin.begin() + static_cast<std::ptrdiff_t>(count), output.begin()));
  return result;
}

/// Same answer, and where it is good the same values as far as decoded bytes reach.
template <class U>
void expectAsDefined(const Bytes& input, std::size_t count, const PlaneChunkGeometry& geometry,
                     PlaneMode mode) {
  std::vector<U> expected(count);
  std::vector<U> actual(count);
  const InflateResult wanted = decodeByDefinition(input, expected, geometry, mode);
  const InflateResult got = decode(input, actual, geometry, mode);
  ASSERT_TRUE(got.streamReady);
  ASSERT_EQ(got.ok, wanted.ok);
  if (!got.ok) return;
  ASSERT_EQ(got.decodedBytes, wanted.decodedBytes);
  const std::size_t valid = got.decodedBytes / sizeof(U);
  EXPECT_TRUE(
      sameBits(std::span<const U>(actual).first(valid), std::span<const U>(expected).first(valid)));
}

template <class U>
class PlaneStreams : public testing::Test {};
using Widths = testing::Types<std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(PlaneStreams, Widths);

TYPED_TEST(PlaneStreams, EveryTruncationAndFlippedByteDecodesAsDefined) {
  using U = TypeParam;
  constexpr std::size_t kCount = 150;
  const auto geometry = PlaneChunkGeometry::of(64 * sizeof(U), sizeof(U), kCount);
  const Bytes stream =
      deflated(chunkedPlanesOf(storedNumbers<U>(kCount, 2), geometry), geometry.chunkBytes);
  for (const PlaneMode mode : {PlaneMode::RunningSum, PlaneMode::Plain}) {
    for (std::size_t length = 0; length <= stream.size(); ++length) {
      SCOPED_TRACE(length);
      const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length));
      expectAsDefined<U>(cut, kCount, geometry, mode);
    }
    for (std::size_t at = 2; at < stream.size(); ++at) {
      SCOPED_TRACE(at);
      Bytes flipped = stream;
      flipped[at] ^= std::byte{0x24};
      expectAsDefined<U>(flipped, kCount, geometry, mode);
    }
  }
}

TYPED_TEST(PlaneStreams, ChunksThatTheInputBoundCutsShortDecodeAsDefined) {
  using U = TypeParam;
  // One flush for all: the code tables of the stream stand in the way of the first small chunks.
  constexpr std::size_t kCount = 3000;
  const auto geometry = PlaneChunkGeometry::of(16, sizeof(U), kCount);
  const Bytes stream = deflated(chunkedPlanesOf(storedNumbers<U>(kCount, 3), geometry));
  std::vector<U> values(kCount);
  const InflateResult result = decode(stream, values, geometry, PlaneMode::RunningSum);
  EXPECT_TRUE(result.ok);
  EXPECT_LT(result.decodedBytes, kCount * sizeof(U));
  expectAsDefined<U>(stream, kCount, geometry, PlaneMode::RunningSum);
}

TYPED_TEST(PlaneStreams, LongStreamIsFetchedOnce) {
  using U = TypeParam;
  std::mt19937_64 random(1);
  std::vector<U> numbers;
  for (std::size_t i = 0; i < 900'000; ++i) {
    // Stored blocks between others.
    numbers.push_back(i / 20'000 % 3 == 0 ? U{7} : static_cast<U>(random()));
  }
  const auto geometry = PlaneChunkGeometry::of(65536, sizeof(U), numbers.size());
  const Bytes stream = deflated(chunkedPlanesOf(numbers, geometry), geometry.chunkBytes);
  Bytes window(262'144);
  ASSERT_GT(stream.size(), 2 * window.size());
  std::uint64_t fetched = 0;
  const auto fetch = [&](std::uint64_t from, std::span<std::byte> target) {
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(from), target.size(), target.begin());
    fetched += target.size();
    return true;
  };
  Platform::StreamInput input(stream.size(), fetch, window);
  Bytes swap(geometry.swapBytes);
  std::vector<U> values(numbers.size());
  EXPECT_TRUE(decodePlaneChunks<U>(input, values, swap, geometry, PlaneMode::Plain).ok);
  EXPECT_EQ(fetched, stream.size()) << "no engine gave up half-way";
  EXPECT_TRUE(sameBits(values, decodedNumbers(numbers, PlaneMode::Plain)));
}

TYPED_TEST(PlaneStreams, BytesThatCanNotBeFetchedAreMissing) {
  using U = TypeParam;
  const std::vector<U> numbers(40'000, U{3});
  const auto geometry = PlaneChunkGeometry::of(65536, sizeof(U), numbers.size());
  const Bytes stream = deflated(chunkedPlanesOf(numbers, geometry), geometry.chunkBytes);
  Bytes window(geometry.inputBound);
  Bytes swap(geometry.swapBytes);
  std::vector<U> values(numbers.size());
  Platform::StreamInput input(
      stream.size(), [](std::uint64_t, std::span<std::byte>) { return false; }, window);
  const InflateResult result =
      decodePlaneChunks<U>(input, values, swap, geometry, PlaneMode::RunningSum);
  EXPECT_TRUE(result.streamReady);
  EXPECT_FALSE(result.ok);
}

TYPED_TEST(PlaneStreams, NoValuesNeedNoInput) {
  using U = TypeParam;
  const auto geometry = PlaneChunkGeometry::of(65536, sizeof(U), 0);
  EXPECT_EQ(geometry.chunkCount, 0u);
  Platform::StreamInput nothing({});
  const InflateResult result =
      decodePlaneChunks<U>(nothing, {}, {}, geometry, PlaneMode::RunningSum);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.decodedBytes, 0u);
}

TYPED_TEST(PlaneStreams, WindowsOfAShortStreamUseTheStrideOfWhatCame) {
  using U = TypeParam;
  const std::vector<U> numbers = storedNumbers<U>(77, 6);
  Bytes planes = planesOf<U>(numbers);
  std::vector<U> values(100, U{9});
  Bytes swap(values.size() * sizeof(U));
  const InflateResult result = decodeWindowedPlanes<U>(deflated(planes), values, swap, 50);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.decodedBytes, planes.size());
  EXPECT_EQ(values[77], U{9});
  values.resize(77);
  EXPECT_TRUE(sameBits(values, decodedNumbers(numbers, PlaneMode::RunningSum)));
}

TYPED_TEST(PlaneStreams, WindowsFailWhereTheStreamHasNoEndOrTooMuch) {
  using U = TypeParam;
  constexpr std::size_t kCount = 60;
  const Bytes stream = deflated(planesOf<U>(storedNumbers<U>(kCount, 7)));
  const auto run = [](const Bytes& input, std::size_t count, std::uint32_t window) {
    std::vector<U> values(count);
    Bytes swap(count * sizeof(U));
    return decodeWindowedPlanes<U>(input, values, swap, window);
  };
  EXPECT_TRUE(run({}, kCount, 1000).ok) << "an empty dataset is well";
  for (std::size_t length = 1; length < stream.size(); ++length) {
    const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_FALSE(run(cut, kCount, 1000).ok) << length;
    EXPECT_FALSE(run(cut, kCount, 3).ok) << length;
  }
  EXPECT_FALSE(run(stream, kCount - 1, 1000).ok);
  EXPECT_FALSE(run(stream, 0, 1000).ok);
  EXPECT_FALSE(run(stream, kCount, 0).ok);
}

TEST(PlaneChunkGeometry, CountsChunksAndBoundsTheirInput) {
  const auto exact = PlaneChunkGeometry::of(65536, 4, 32768);
  EXPECT_EQ(exact.valuesPerChunk, 16384u);
  EXPECT_EQ(exact.inputBound, 65667u + 12u);
  EXPECT_EQ(exact.chunkCount, 2u);
  EXPECT_EQ(exact.remainder, 0u);
  EXPECT_EQ(exact.swapBytes, 65536u);

  const auto oneShort = PlaneChunkGeometry::of(65536, 8, 10);
  EXPECT_EQ(oneShort.chunkCount, 1u);
  EXPECT_EQ(oneShort.swapBytes, 80u);

  const auto shortLast = PlaneChunkGeometry::of(103, 4, 26);
  EXPECT_EQ(shortLast.valuesPerChunk, 25u);
  EXPECT_EQ(shortLast.chunkBytes, 100u);
  EXPECT_EQ(shortLast.inputBound, 112u);
  EXPECT_EQ(shortLast.chunkCount, 2u);
  EXPECT_EQ(shortLast.remainder, 1u);
  EXPECT_EQ(shortLast.swapBytes, 100u);

  const auto claimed = PlaneChunkGeometry::of(0x7FFFFFFF, 8, 3);
  EXPECT_EQ(claimed.swapBytes, 24u) << "a file may claim any size of its chunks";

  const auto tiny = PlaneChunkGeometry::of(3, 8, 5);
  EXPECT_EQ(tiny.valuesPerChunk, 1u);
  EXPECT_EQ(tiny.chunkCount, 5u);
}

TEST(PlainInflate, AcceptsLessThanExpectedAndRefusesMore) {
  const Bytes inflated = randomBytes(500, 9);
  const Bytes stream = deflated(inflated);
  Bytes large(600, std::byte{1});
  const PlainInflateResult shorter = inflatePlain(stream, large);
  EXPECT_TRUE(shorter.ok());
  EXPECT_EQ(shorter.decodedBytes, 500u);
  EXPECT_EQ(large[500], std::byte{1});
  for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 499}) {
    Bytes small(size);
    EXPECT_EQ(inflatePlain(stream, small).code, Z_BUF_ERROR) << size;
  }
  EXPECT_TRUE(inflatePlain({}, large).ok());
}

TEST(StreamsWithADictionary, FailInAllThreeLoops) {
  const Bytes inflated = randomBytes(400, 11);
  const Bytes stream = deflated(inflated, 0, inflated);
  Bytes output(400);
  EXPECT_EQ(inflatePlain(stream, output).code, Z_NEED_DICT);
  EXPECT_FALSE(inflatePlain(stream, output).ok());
  std::vector<std::uint32_t> values(100);
  Bytes swap(400);
  EXPECT_FALSE(decodeWindowedPlanes<std::uint32_t>(stream, values, swap, 1000).ok);
  const auto geometry = PlaneChunkGeometry::of(400, 4, 100);
  EXPECT_FALSE(decode(stream, values, geometry, PlaneMode::Plain).ok);
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels

#include "inflate/plain_stream.hpp"
#include "inflate/windowed_planes.hpp"
#include "stream_support.hpp"

namespace Kelbor::Inflate {
namespace {

using namespace Testing;

/// The definition to the letter: as many inflate calls as chunks, whatever their answers.
ChunkAnswer decodeByDefinition(const Bytes& input, const PlaneChunkGeometry& g) {
  InflateStream stream;
  z_stream& z = stream.get();
  z.next_in = zlibBytes(input.data());
  Bytes swap(std::min(g.chunkBytes, g.totalBytes));
  ChunkAnswer answer{{.streamReady = true, .ok = true}, {}};
  for (std::uint64_t at = 0; at < g.totalBytes; at += g.chunkBytes) {
    const std::size_t size = std::min(g.chunkBytes, g.totalBytes - at);
    z.next_out = zlibBytes(swap.data());
    z.avail_out = static_cast<uInt>(size);
    const auto left =
        static_cast<std::uint64_t>(zlibBytes(input.data()) + input.size() - z.next_in);
    z.avail_in = static_cast<uInt>(std::min(left, g.inputBound));
    const int code = ::inflate(&z, Z_NO_FLUSH);
    answer.result.decodedBytes += size - z.avail_out;
    if (code < 0) answer.result.ok = false;
    answer.taken.insert(answer.taken.end(), swap.begin(),
                        swap.begin() + static_cast<std::ptrdiff_t>(size));
  }
  return answer;
}

/// Whole in memory and through the smallest window that will do.
void expectAsDefined(const Bytes& stream, const PlaneChunkGeometry& geometry) {
  ChunkAnswer wanted = decodeByDefinition(stream, geometry);
  Bytes window(std::max<std::size_t>(geometry.inputBound, 4096));
  StreamInput whole(stream);
  StreamInput pieces(stream.size(), fetchFrom(stream), window);
  for (StreamInput* input : {&whole, &pieces}) {
    ChunkAnswer got = decodeChunks(*input, geometry);
    ASSERT_TRUE(got.result.streamReady);
    ASSERT_EQ(got.result.ok, wanted.result.ok);
    if (!got.result.ok) continue;
    ASSERT_EQ(got.result.decodedBytes, wanted.result.decodedBytes);
    // Chunks after the last that anything came for mean nothing.
    ASSERT_GE(got.taken.size(), got.result.decodedBytes);
    ASSERT_TRUE(std::equal(got.taken.begin(), got.taken.end(), wanted.taken.begin()));
  }
}

TEST(PlaneStreams, EveryTruncationAndFlippedByteDecodesAsDefined) {
  for (const std::size_t width : {2U, 8U}) {
    const auto geometry =
        PlaneChunkGeometry::of(static_cast<std::uint32_t>(64 * width), width, 150);
    const Bytes stream = deflated(planeBytes(150 * width, 2), geometry.chunkBytes);
    for (std::size_t length = 0; length <= stream.size(); ++length) {
      SCOPED_TRACE(length);
      expectAsDefined({stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length)},
                      geometry);
    }
    for (std::size_t at = 2; at < stream.size(); ++at) {
      SCOPED_TRACE(at);
      Bytes flipped = stream;
      flipped[at] ^= std::byte{0x24};
      expectAsDefined(flipped, geometry);
    }
  }
}

TEST(PlaneStreams, ChunksThatTheInputBoundCutsShortDecodeAsDefined) {
  // One flush for all: the code tables of the stream are longer than the input of a small chunk.
  const auto geometry = PlaneChunkGeometry::of(16, 4, 3000);
  const Bytes stream = deflated(planeBytes(12000, 3));
  StreamInput input(stream);
  const InflateResult result = decodeChunks(input, geometry).result;
  EXPECT_TRUE(result.ok);
  EXPECT_LT(result.decodedBytes, geometry.totalBytes);
  expectAsDefined(stream, geometry);
}

TEST(PlaneStreams, LongStreamIsFetchedOnce) {
  Bytes planes = randomBytes(3'000'000, 1);
  for (std::size_t i = 0; i < planes.size(); ++i) {
    // Stored blocks between others.
    if (i / 80'000 % 3 == 0) planes[i] = std::byte{7};
  }
  const auto geometry = PlaneChunkGeometry::of(65536, 8, planes.size() / 8);
  const Bytes stream = deflated(planes, geometry.chunkBytes);
  Bytes window(262'144);
  ASSERT_GT(stream.size(), 2 * window.size());
  std::uint64_t fetched = 0;
  const auto fetch = [&](std::uint64_t from, std::span<std::byte> target) {
    fetched += target.size();
    return fetchFrom(stream)(from, target);
  };
  StreamInput input(stream.size(), fetch, window);
  const ChunkAnswer answer = decodeChunks(input, geometry);
  EXPECT_TRUE(answer.result.ok);
  EXPECT_EQ(fetched, stream.size()) << "no engine gave up half-way";
  EXPECT_TRUE(answer.taken == planes);
}

TEST(PlaneStreams, BytesThatCanNotBeFetchedAreMissing) {
  const auto geometry = PlaneChunkGeometry::of(65536, 4, 40'000);
  const Bytes stream = deflated(planeBytes(160'000, 4), geometry.chunkBytes);
  Bytes window(geometry.inputBound);
  StreamInput input(
      stream.size(), [](std::uint64_t, std::span<std::byte>) { return false; }, window);
  const InflateResult result = decodeChunks(input, geometry).result;
  EXPECT_TRUE(result.streamReady);
  EXPECT_FALSE(result.ok);
}

TEST(PlaneStreams, NoValuesNeedNoInput) {
  const auto geometry = PlaneChunkGeometry::of(65536, 8, 0);
  EXPECT_EQ(geometry.chunkCount, 0u);
  StreamInput nothing({});
  const ChunkAnswer answer = decodeChunks(nothing, geometry);
  EXPECT_TRUE(answer.result.ok);
  EXPECT_EQ(answer.result.decodedBytes, 0u);
}

TEST(WindowedPlanes, FailWhereTheStreamHasNoEndOrTooMuch) {
  const Bytes planes = planeBytes(121, 7);
  const Bytes stream = deflated(planes);
  const auto inflates = [](const Bytes& input, std::size_t room, std::uint32_t window) {
    Bytes target(room);
    return inflateWindowedPlanes(input, target, window).ok;
  };
  EXPECT_TRUE(inflates({}, 120, 1000)) << "an empty dataset is no failure";
  for (std::size_t length = 1; length < stream.size(); ++length) {
    const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_FALSE(inflates(cut, 121, 1000)) << length;
    EXPECT_FALSE(inflates(cut, 121, 3)) << length;
  }
  EXPECT_FALSE(inflates(stream, 120, 1000));
  EXPECT_FALSE(inflates(stream, 0, 1000));
  EXPECT_FALSE(inflates(stream, 121, 0));
  Bytes roomy(200, std::byte{1});
  const InflateResult shorter = inflateWindowedPlanes(stream, roomy, 50);
  EXPECT_TRUE(shorter.ok);
  EXPECT_EQ(shorter.decodedBytes, planes.size());
  EXPECT_TRUE(std::ranges::equal(planes, std::span(roomy).first(121)));
}

TEST(PlaneChunkGeometry, CountsChunksAndBoundsTheirInput) {
  const auto exact = PlaneChunkGeometry::of(65536, 4, 32768);
  EXPECT_EQ(exact.valuesPerChunk, 16384u);
  EXPECT_EQ(exact.inputBound, 65667u + 12u);
  EXPECT_EQ(exact.chunkCount, 2u);

  const auto oneShort = PlaneChunkGeometry::of(65536, 8, 10);
  EXPECT_EQ(oneShort.chunkCount, 1u);

  const auto shortLast = PlaneChunkGeometry::of(103, 4, 26);
  EXPECT_EQ(shortLast.valuesPerChunk, 25u);
  EXPECT_EQ(shortLast.chunkBytes, 100u);
  EXPECT_EQ(shortLast.inputBound, 112u);
  EXPECT_EQ(shortLast.chunkCount, 2u);
  EXPECT_EQ(shortLast.totalBytes, 104u);

  const auto claimed = PlaneChunkGeometry::of(0x7FFFFFFF, 8, 3);
  EXPECT_LT(claimed.workBytes, 1000u) << "a file may claim any size of its chunks";

  const auto tiny = PlaneChunkGeometry::of(3, 8, 5);
  EXPECT_EQ(tiny.valuesPerChunk, 1u);
  EXPECT_EQ(tiny.chunkCount, 5u);
}

TEST(PlainStreams, MayBeShorterThanTheirRoomButNotLonger) {
  const Bytes inflated = randomBytes(500, 9);
  const Bytes stream = deflated(inflated);
  Bytes large(600, std::byte{1});
  const PlainResult shorter = inflatePlain(stream, large);
  EXPECT_TRUE(shorter.ok());
  EXPECT_EQ(shorter.decodedBytes, 500u);
  EXPECT_EQ(large[500], std::byte{1});
  for (const FullRoom fullRoom : {FullRoom::kFails, FullRoom::kTakesMoreInput}) {
    for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 499}) {
      Bytes small(size);
      EXPECT_EQ(inflatePlain(stream, small, fullRoom).code, Z_BUF_ERROR) << size;
    }
    EXPECT_EQ(inflatePlain({}, large, fullRoom).code, Z_BUF_ERROR);
  }
}

TEST(StreamsWithADictionary, FailInAllThreeLoops) {
  const Bytes inflated = randomBytes(400, 11);
  const Bytes stream = deflated(inflated, 0, inflated);
  Bytes output(400);
  EXPECT_EQ(inflatePlain(stream, output).code, Z_NEED_DICT);
  EXPECT_FALSE(inflatePlain(stream, output).ok());
  EXPECT_FALSE(inflateWindowedPlanes(stream, output, 1000).ok);
  StreamInput input(stream);
  EXPECT_FALSE(decodeChunks(input, PlaneChunkGeometry::of(400, 4, 100)).result.ok);
}

TEST(ZlibStreams, DeflateFastAndEndOnce) {
  const Bytes packed = deflated(Bytes(10'000, std::byte{'a'}));
  EXPECT_EQ(packed[0], std::byte{0x78});
  EXPECT_EQ(packed[1] >> 6, std::byte{1}) << "level 4 marks itself as fast";

  InflateStream inflater;
  ASSERT_TRUE(inflater.isReady());
  EXPECT_EQ(inflater.end(), Z_OK);
  EXPECT_FALSE(inflater.isReady());
  EXPECT_EQ(inflater.end(), Z_OK);
}

}  // namespace
}  // namespace Kelbor::Inflate

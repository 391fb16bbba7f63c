#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>

#include "deflate_builder.hpp"
#include "deflate_maker.hpp"
#include "inflate/inflate_road.hpp"
#include "inflate/inflater.hpp"
#include "inflate/plain_stream.hpp"
#include "inflate/windowed_planes.hpp"
#include "stream_support.hpp"

namespace Kelbor::Inflate {
namespace {

using namespace Testing;
using Lengths = DeflateBuilder::Lengths;
using Tokens = DeflateBuilder::Tokens;

/// What the three loops make of a stream. Bytes that no caller may look at are left out.
struct Answers {
  struct Answer {
    std::string how;
    bool ok;
    std::uint64_t decodedBytes;
    int code;
    Bytes values;
  };
  std::vector<Answer> all;

  void add(std::string how, bool ok, std::uint64_t decodedBytes, int code, Bytes values) {
    if (!ok) values.clear();
    all.push_back({std::move(how), ok, ok ? decodedBytes : 0, code, std::move(values)});
  }
};

/// For room of `size` bytes, with plane chunks of the given sizes.
Answers answersOf(const Bytes& stream, std::size_t size, const std::vector<std::uint32_t>& chunks) {
  Answers answers;
  for (const std::uint32_t chunkSize : chunks) {
    for (const std::size_t width : {2U, 4U}) {
      StreamInput input(stream);
      const ChunkAnswer answer =
          decodeChunks(input, PlaneChunkGeometry::of(chunkSize, width, (size + width - 1) / width));
      answers.add("chunks of " + std::to_string(chunkSize), answer.result.ok,
                  answer.result.decodedBytes, 0, answer.taken);
    }
  }
  for (const std::uint32_t window : {0u, 5u, 536870912u}) {
    Bytes planes(size);
    const InflateResult result = inflateWindowedPlanes(stream, planes, window);
    planes.resize(result.decodedBytes);
    answers.add("windows", result.ok, result.decodedBytes, 0, planes);
  }
  Bytes output(size);
  const PlainResult result = inflatePlain(stream, output);
  output.resize(result.decodedBytes);
  answers.add("plain", result.ok(), result.decodedBytes, result.code, output);
  return answers;
}

void expectSameAnswers(const Bytes& stream, std::size_t size,
                       const std::vector<std::uint32_t>& chunks) {
  useInflateRoad("zlib");
  const Answers wanted = answersOf(stream, size, chunks);
  for (const std::string_view road : inflateRoads()) {
    useInflateRoad(road);
    const Answers got = answersOf(stream, size, chunks);
    for (std::size_t i = 0; i < wanted.all.size(); ++i) {
      ASSERT_EQ(got.all[i].ok, wanted.all[i].ok) << wanted.all[i].how;
      ASSERT_EQ(got.all[i].decodedBytes, wanted.all[i].decodedBytes) << wanted.all[i].how;
      ASSERT_EQ(got.all[i].code, wanted.all[i].code) << wanted.all[i].how;
      ASSERT_TRUE(got.all[i].values == wanted.all[i].values) << wanted.all[i].how;
    }
  }
  useBestInflateRoad();
}

/// Whether the symbol loops of every kind take a stream without asking zlib.
bool loopsTake(const Bytes& stream, const Bytes& inflated) {
  bool allTake = true;
  for (const SymbolLoops* loops : symbolLoops()) {
    useInflateRoad(loops->name);
    StreamInput input(stream);
    Bytes output(inflated.size() + 1);
    const auto size = inflateWhole(input, output);
    output.resize(inflated.size());
    allTake = allTake && size == inflated.size() && output == inflated;
  }
  useBestInflateRoad();
  return allTake;
}

Bytes text(const char* characters) {
  Bytes result;
  for (; *characters; ++characters) result.push_back(static_cast<std::byte>(*characters));
  return result;
}

Lengths lengthsOf(std::size_t count, std::initializer_list<std::pair<unsigned, unsigned>> used) {
  Lengths lengths(count, 0);
  for (const auto& [symbol, length] : used) lengths[symbol] = length;
  return lengths;
}

struct Sample {
  const char* name;
  Bytes stream;
  Bytes inflated;
};

Sample sampleOf(const char* name, DeflateBuilder builder) {
  Bytes stream = builder.finish();
  return {name, std::move(stream), builder.inflated()};
}

/// Whole streams of all kinds of blocks, small enough for damage at each bit.
std::vector<Sample> wholeStreams() {
  const Lengths letters = lengthsOf(259, {{'a', 2}, {'b', 2}, {256, 2}, {258, 2}});
  std::vector<Sample> samples;
  samples.push_back(sampleOf("no data", DeflateBuilder().stored({}, true)));
  samples.push_back(sampleOf("stored", DeflateBuilder().stored(text("stored bytes"), true)));
  samples.push_back(sampleOf(
      "fixed", DeflateBuilder().fixed({{'a'}, {'b'}, {200}, {7, 2}, {258, 3}, {3, 1}}, true)));
  samples.push_back(sampleOf(
      "dynamic", DeflateBuilder().dynamic(letters, {1, 1}, {{'a'}, {'b'}, {4, 2}, {'a'}}, true)));
  samples.push_back(sampleOf(
      "one distance", DeflateBuilder().dynamic(letters, {1}, {{'b'}, {4, 1}, {4, 1}}, true)));
  samples.push_back(sampleOf("no distances",
                             DeflateBuilder().dynamic(letters, {0}, {{'b'}, {'a'}, {'b'}}, true)));
  samples.push_back(
      sampleOf("only an end of block",
               DeflateBuilder().fixed({{'x'}}).dynamic(lengthsOf(257, {{256, 1}}), {0}, {}, true)));
  samples.push_back(sampleOf("empty blocks", DeflateBuilder()
                                                 .stored({})
                                                 .fixed({})
                                                 .stored(text("ab"))
                                                 .stored({})
                                                 .dynamic(letters, {0}, {{'a'}})
                                                 .fixed({})
                                                 .stored({})
                                                 .fixed({}, true)));
  samples.push_back(sampleOf("zeros that end the checksum, as behind a stream that lacks them",
                             DeflateBuilder().fixed({{255}}, true)));
  samples.push_back(sampleOf("distances beyond the header's window",
                             DeflateBuilder(0x08, 0x1d).fixed({{'a'}, {258, 1}, {9, 258}}, true)));
  return samples;
}

const std::vector<std::uint32_t> kSmallChunks = {4, 16, 65536};

class InflateRoads : public testing::Test {
 protected:
  void TearDown() override { useBestInflateRoad(); }
};

TEST_F(InflateRoads, WholeStreamsGiveTheSameWhateverRoomThereIs) {
  for (const Sample& sample : wholeStreams()) {
    SCOPED_TRACE(sample.name);
    EXPECT_TRUE(loopsTake(sample.stream, sample.inflated));
    for (std::size_t size = 0; size < sample.inflated.size() + 4; ++size) {
      SCOPED_TRACE(size);
      expectSameAnswers(sample.stream, size, kSmallChunks);
    }
    Bytes longer = sample.stream;
    longer.resize(longer.size() + 9, std::byte{0x78});
    expectSameAnswers(longer, sample.inflated.size(), kSmallChunks);
  }
}

TEST_F(InflateRoads, EveryTruncationAndEveryFlippedBitGivesTheSame) {
  for (const Sample& sample : wholeStreams()) {
    SCOPED_TRACE(sample.name);
    for (std::size_t length = 0; length < sample.stream.size(); ++length) {
      SCOPED_TRACE(length);
      const Bytes cut(sample.stream.begin(),
                      sample.stream.begin() + static_cast<std::ptrdiff_t>(length));
      expectSameAnswers(cut, sample.inflated.size(), kSmallChunks);
    }
    for (std::size_t bit = 0; bit < sample.stream.size() * 8; ++bit) {
      SCOPED_TRACE(bit);
      Bytes flipped = sample.stream;
      flipped[bit / 8] ^= static_cast<std::byte>(1U << bit % 8);
      expectSameAnswers(flipped, sample.inflated.size(), kSmallChunks);
    }
  }
}

TEST_F(InflateRoads, StreamsThatZlibRefusesAreRefused) {
  const Lengths letters = lengthsOf(257, {{'a', 1}, {256, 1}});
  const auto dynamic = [](const Lengths& literals, const Lengths& distances, const Tokens& tokens) {
    return DeflateBuilder().dynamic(literals, distances, tokens, true);
  };
  const std::vector<Sample> samples = {
      sampleOf("length of stored block", DeflateBuilder().stored(text("ab"), true, 4)),
      sampleOf("block of the fourth kind", DeflateBuilder().stored(text("ab")).raw(7, 3)),
      sampleOf("distance too far", DeflateBuilder().fixed({{'a'}, {'b'}, {5, 3}}, true)),
      sampleOf("literal symbol 286", DeflateBuilder().fixed({{'a'}, {286, 0, true}}, true)),
      sampleOf("literal symbol 287", DeflateBuilder().fixed({{'a'}, {287, 0, true}}, true)),
      sampleOf("too many literals",
               dynamic(lengthsOf(257, {{'a', 1}, {'b', 1}, {256, 1}}), {0}, {{'a'}})),
      sampleOf("too many distances", dynamic(letters, {1, 1, 1}, {{'a'}})),
      sampleOf("287 literals", dynamic(lengthsOf(287, {{'a', 1}, {256, 1}}), {0}, {{'a'}})),
      sampleOf("31 distances", dynamic(letters, Lengths(31, 0), {{'a'}})),
      sampleOf("no end of block", dynamic(lengthsOf(257, {{'a', 1}, {'b', 1}}), {0}, {{'a'}})),
      sampleOf("no distance for a match", dynamic(lengthsOf(258, {{'a', 1}, {256, 2}, {257, 2}}),
                                                  {0}, {{'a'}, {257, 0, true}})),
      sampleOf("incomplete literals",
               dynamic(lengthsOf(257, {{'a', 1}, {256, 2}}), {0}, {{'a'}, {'a'}})),
      sampleOf("incomplete distances", dynamic(letters, {2, 2}, {{'a'}})),
      sampleOf("window of the header", DeflateBuilder(0x88, 0x1c).stored(text("ab"), true)),
      sampleOf("method of the header", DeflateBuilder(0x77, 0x05).stored(text("ab"), true)),
      sampleOf("check of the header", DeflateBuilder(0x78, 0x02).stored(text("ab"), true)),
      sampleOf("dictionary", DeflateBuilder(0x78, 0x20).stored(text("ab"), true)),
  };
  for (const Sample& sample : samples) {
    SCOPED_TRACE(sample.name);
    for (const std::size_t size : {sample.inflated.size(), sample.inflated.size() + 6}) {
      Bytes output(size);
      EXPECT_FALSE(inflatePlain(sample.stream, output).ok());
      expectSameAnswers(sample.stream, size, kSmallChunks);
    }
  }
}

TEST_F(InflateRoads, WrongChecksumsAreSeenWhereZlibSeesThem) {
  for (const unsigned damage : {1u, 0x80000000u}) {
    DeflateBuilder builder;
    builder.fixed({{'a'}, {258, 1}, {258, 1}, {258, 1}}).stored(text("abcd"), true);
    const Bytes stream = builder.finish(damage);
    for (const std::size_t size : {16u, 256u, 772u, 776u, 780u, 800u}) {
      SCOPED_TRACE(size);
      expectSameAnswers(stream, size, kSmallChunks);
    }
  }
}

TEST_F(InflateRoads, MadeBlocksGiveTheSame) {
  std::mt19937 random(21);
  int taken = 0;
  for (int round = 0; round < 4000; ++round) {
    SCOPED_TRACE(round);
    std::vector<std::uint8_t> choices(random() % 600);
    for (std::uint8_t& choice : choices) choice = static_cast<std::uint8_t>(random());
    Bytes stream = {std::byte{0x78}, std::byte{0x01}};
    const Bytes blocks = DeflateMaker(choices).make();
    stream.insert(stream.end(), blocks.begin(), blocks.end());
    // The checksum of what zlib gets out of it.
    Bytes inflated(200'000);
    useInflateRoad("zlib");
    inflated.resize(inflatePlain(stream, inflated).decodedBytes);
    const auto sum = ::adler32(1, zlibBytes(inflated.data()), static_cast<uInt>(inflated.size()));
    for (const int shift : {24, 16, 8, 0}) stream.push_back(static_cast<std::byte>(sum >> shift));
    ASSERT_NO_FATAL_FAILURE(expectSameAnswers(stream, inflated.size(), {16, 65536}));
    taken += inflatePlain(stream, inflated).ok() && loopsTake(stream, inflated) ? 1 : 0;
  }
  EXPECT_GT(taken, 1000) << "most streams get to their ends";
}

/// A stream of a level with blocks that end where pieces do.
Bytes deflatedAt(int level, const Bytes& inflated, std::size_t pieceBytes) {
  z_stream z{};
  EXPECT_EQ(::deflateInit(&z, level), Z_OK);
  Bytes result(inflated.size() * 2 + 1000);
  z.next_out = zlibBytes(result.data());
  z.avail_out = static_cast<uInt>(result.size());
  for (std::size_t at = 0; at < inflated.size(); at += pieceBytes) {
    z.next_in = zlibBytes(inflated.data() + at);
    z.avail_in = static_cast<uInt>(std::min(pieceBytes, inflated.size() - at));
    EXPECT_EQ(::deflate(&z, Z_BLOCK), Z_OK);
  }
  EXPECT_EQ(::deflate(&z, Z_FINISH), Z_STREAM_END);
  result.resize(result.size() - z.avail_out);
  ::deflateEnd(&z);
  return result;
}

/// Noise in the given number of low bits, with repetitions far and near.
Bytes mixedBytes(std::size_t size, unsigned bits, std::uint64_t seed) {
  Bytes bytes = randomBytes(size, seed);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] &= static_cast<std::byte>((1U << bits) - 1);
    if (i > 40000 && i / 512 % 5 == 0) bytes[i] = bytes[i - (i % 3000 < 1500 ? 32768 : 7)];
  }
  return bytes;
}

TEST_F(InflateRoads, LargeStreamsGiveTheSameForEveryKindOfChunk) {
  constexpr std::size_t kSize = 3 * 65536 + 20000;
  for (const unsigned bits : {1u, 7u, 8u}) {
    for (const std::size_t piece : {std::size_t{65536}, std::size_t{1000}}) {
      for (const int level : {0, 4}) {
        SCOPED_TRACE(testing::Message() << bits << ' ' << piece << ' ' << level);
        const Bytes inflated = mixedBytes(kSize, bits, bits);
        const Bytes stream = deflatedAt(level, inflated, piece);
        EXPECT_TRUE(loopsTake(stream, inflated));
        for (const std::size_t size : {kSize, kSize + 70000}) {
          expectSameAnswers(stream, size, {1000, 65536, 131080});
        }
      }
    }
  }
}

TEST_F(InflateRoads, DamageAroundTheLimitsOfLargeChunksGivesTheSame) {
  constexpr std::size_t kSize = 2 * 65536 + 500;
  const Bytes inflated = mixedBytes(kSize, 7, 12);
  const Bytes stream = deflatedAt(4, inflated, 65536);
  const std::size_t perChunk = stream.size() * 65536 / kSize;
  for (const std::size_t limit : {std::size_t{40}, perChunk, 2 * perChunk, stream.size() - 20}) {
    for (std::size_t at = limit - 30; at < std::min(limit + 30, stream.size()); at += 3) {
      SCOPED_TRACE(at);
      Bytes flipped = stream;
      flipped[at] ^= static_cast<std::byte>(1U << at % 8);
      expectSameAnswers(flipped, kSize, {65536});
      const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(at));
      expectSameAnswers(cut, kSize, {65536});
    }
  }
}

TEST_F(InflateRoads, InputThatAChunkMayNotSeeIsNotUsed) {
  // The blocks in front of a chunk's bytes take up its input bound, by a few bytes more or less.
  const Bytes inflated = randomBytes(2 * 65536, 13);
  const auto half = inflated.begin() + 65536;
  const std::uint64_t bound = PlaneChunkGeometry::of(65536, 4, 32768).inputBound;
  const auto storedInPieces = [](DeflateBuilder& builder, auto from, auto to) {
    builder.stored(Bytes(from, from + 32768)).stored(Bytes(from + 32768, to));
  };
  for (std::size_t emptyBlocks = 15; emptyBlocks < 40; ++emptyBlocks) {
    for (const bool inFront : {true, false}) {
      SCOPED_TRACE(emptyBlocks);
      DeflateBuilder builder;
      if (!inFront) storedInPieces(builder, inflated.begin(), half);
      for (std::size_t i = 0; i < emptyBlocks; ++i) builder.stored({});
      if (inFront) storedInPieces(builder, inflated.begin(), half);
      storedInPieces(builder, half, inflated.end());
      const Bytes stream = builder.stored({}, true).finish();
      ASSERT_GT(stream.size(), bound);
      expectSameAnswers(stream, inflated.size(), {65536});
    }
  }
}

/// A block whose end is the end of the memory that may be touched.
class GuardedBlock {
 public:
  explicit GuardedBlock(std::size_t size) : page_(static_cast<std::size_t>(::getpagesize())) {
    mapped_ = (size + 2 * page_ - 1) / page_ * page_;
    base_ = static_cast<std::byte*>(
        ::mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    EXPECT_NE(base_, MAP_FAILED);
    EXPECT_EQ(::mprotect(base_ + mapped_ - page_, page_, PROT_NONE), 0);
    bytes = {base_ + mapped_ - page_ - size, size};
  }
  ~GuardedBlock() { ::munmap(base_, mapped_); }
  GuardedBlock(const GuardedBlock&) = delete;
  GuardedBlock& operator=(const GuardedBlock&) = delete;

  std::span<std::byte> bytes;

 private:
  std::size_t page_;
  std::size_t mapped_;
  std::byte* base_;
};

TEST_F(InflateRoads, NothingBehindInputAndOutputIsTouched) {
  constexpr std::size_t kSize = 65536 + 900;
  const Bytes inflated = mixedBytes(kSize, 6, 14);
  const Bytes stream = deflatedAt(4, inflated, kSize);
  for (std::size_t length = stream.size() - 40; length <= stream.size(); ++length) {
    GuardedBlock input(length);
    std::copy_n(stream.begin(), length, input.bytes.begin());
    for (const std::size_t size : {kSize - 4, kSize}) {
      GuardedBlock output(size);
      const auto geometry = PlaneChunkGeometry::of(65536, 2, size / 2);
      GuardedBlock swap(geometry.workBytes);
      EXPECT_EQ(inflatePlain(input.bytes, output.bytes).ok(),
                length == stream.size() && size == kSize);
      StreamInput guarded(input.bytes);
      ByteSink sink;
      PlaneJob job{&guarded, swap.bytes, geometry, &sink};
      decodePlaneChunks(job);
      EXPECT_TRUE(job.result.streamReady);
    }
  }
}

TEST_F(InflateRoads, ThreadsAndAForkedChildDecodeAtOnce) {
  const Bytes inflated = mixedBytes(100000, 5, 15);
  const Bytes stream = deflatedAt(4, inflated, 65536);
  const auto decodesWell = [&] {
    Bytes output(inflated.size());
    return inflatePlain(stream, output).ok() && output == inflated;
  };
  std::vector<int> wrong(24, 0);
  std::vector<std::thread> threads;
  for (int& count : wrong) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20; ++i) count += decodesWell() ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::ranges::count(wrong, 0), std::ssize(wrong));
  EXPECT_EXIT(std::_Exit(decodesWell() ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Kelbor::Inflate

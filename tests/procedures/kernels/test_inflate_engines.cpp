#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>

#include "kernel_test_support.hpp"
#include "platform/fast_inflater.hpp"
#include "platform/inflate_engines.hpp"
#include "platform/zlib_stream.hpp"
#include "procedures/kernels/inflate_stream.hpp"
#include "procedures/kernels/zigzag.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Platform::FastInflater;
using Platform::InflateEngine;
using Platform::inflateEngines;
using Platform::StreamInput;
using Platform::useBestInflateEngine;
using Platform::useInflateEngine;
using Testing::deflated;
using Testing::randomBytes;
using Testing::zlibBytes;
using Bytes = std::vector<std::byte>;

/// What one of the three loops makes of a stream, without bytes that no caller may look at.
struct Answer {
  Answer(std::string how, bool isOk, std::uint64_t size, int answered, Bytes decoded)
      : loop(std::move(how)),
        ok(isOk),
        decodedBytes(ok ? size : 0),
        code(answered),
        values(std::move(decoded)) {
    values.resize(decodedBytes);
  }
  bool operator==(const Answer&) const = default;

  std::string loop;
  bool ok;
  std::uint64_t decodedBytes;
  int code;
  Bytes values;
};
using Answers = std::vector<Answer>;

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
    if (code < 0 || code == Z_NEED_DICT) result.ok = false;
    for (std::size_t i = 0; result.ok && i < count; ++i) {
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

/// From memory, and through the smallest window that the loop can do with.
template <class U>
void addChunked(Answers& answers, const Bytes& stream, std::size_t size, std::uint32_t chunkSize,
                bool isDefinition) {
  const std::size_t count = (size + sizeof(U) - 1) / sizeof(U);
  const auto geometry = PlaneChunkGeometry::of(chunkSize, sizeof(U), count);
  const PlaneMode mode = sizeof(U) == 4 ? PlaneMode::Plain : PlaneMode::RunningSum;
  Bytes window(std::max<std::size_t>(geometry.inputBound, 4096));
  const auto fetch = [&](std::uint64_t from, std::span<std::byte> target) {
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(from), target.size(), target.begin());
    return true;
  };
  for (StreamInput input : {StreamInput(stream), StreamInput(stream.size(), fetch, window)}) {
    std::vector<U> values(count);
    // Nothing may depend on what the swap holds at first.
    Bytes swap(geometry.swapBytes + kSwapRoomBehind, std::byte{0xd1});
    const InflateResult result = isDefinition
                                     ? decodeByDefinition(stream, values, geometry, mode)
                                     : decodePlaneChunks<U>(input, values, swap, geometry, mode);
    const auto bytes = std::as_bytes(std::span(values));
    answers.emplace_back("chunks of " + std::to_string(chunkSize), result.ok, result.decodedBytes,
                         0, Bytes(bytes.begin(), bytes.end()));
  }
}

/// For room of `size` bytes, with plane chunks of the given sizes, from the loops or, as far as
/// plane chunks go, from their definition.
Answers answersOf(const Bytes& stream, std::size_t size, const std::vector<std::uint32_t>& chunks,
                  bool isDefinition = false) {
  Answers answers;
  for (const std::uint32_t chunkSize : chunks) {
    addChunked<std::uint16_t>(answers, stream, size, chunkSize, isDefinition);
    addChunked<std::uint32_t>(answers, stream, size, chunkSize, isDefinition);
    addChunked<std::uint64_t>(answers, stream, size, chunkSize, isDefinition);
  }
  for (const std::uint32_t window : {0u, 5u, 536870912u}) {
    std::vector<std::uint16_t> values(size / 2);
    Bytes swap(size / 2 * 2);
    const InflateResult result = decodeWindowedPlanes<std::uint16_t>(stream, values, swap, window);
    const auto bytes = std::as_bytes(std::span(values));
    Bytes decoded(bytes.begin(), bytes.end());
    if (result.decodedBytes % 2 != 0) decoded.pop_back();
    decoded.resize(std::min<std::size_t>(decoded.size(), result.decodedBytes / 2 * 2));
    answers.emplace_back("windows", result.ok, result.decodedBytes, 0, decoded);
  }
  Bytes output(size);
  const PlainInflateResult result = inflatePlain(stream, output);
  answers.emplace_back("plain", result.ok(), result.decodedBytes, result.code, output);
  return answers;
}

void expectSameAnswers(const Bytes& stream, std::size_t size,
                       const std::vector<std::uint32_t>& chunks) {
  useInflateEngine(InflateEngine::zlib);
  const Answers wanted = answersOf(stream, size, chunks, /*isDefinition=*/true);
  for (const InflateEngine engine : inflateEngines()) {
    useInflateEngine(engine);
    const Answers got = answersOf(stream, size, chunks);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      ASSERT_TRUE(got[i] == wanted[i])
          << wanted[i].loop << ": " << got[i].ok << got[i].code << ' ' << got[i].decodedBytes
          << ", not " << wanted[i].ok << wanted[i].code << ' ' << wanted[i].decodedBytes;
    }
  }
  useInflateEngine(inflateEngines().front());
}

bool fastEngineTakes(const Bytes& stream, const Bytes& inflated) {
  StreamInput input(stream);
  FastInflater inflater(input, inflated.size());
  if (!inflater.isReady()) return false;
  Bytes output(inflated.size() + 1);
  const auto size = inflater.inflateAll(output);
  output.resize(size.value_or(0));
  return size && output == inflated;
}

/// zlib refuses a code with words that stand for nothing when it meets its table, the fast engine
/// when it meets such a word: the one kind of stream of which they may think differently.
bool hasIncompleteCode(const Bytes& stream) {
  Platform::InflateStream inflater;
  z_stream& z = inflater.get();
  Bytes output(5000);
  z.next_in = zlibBytes(stream.data());
  z.avail_in = static_cast<uInt>(stream.size());
  z.next_out = zlibBytes(output.data());
  z.avail_out = static_cast<uInt>(output.size());
  if (::inflate(&z, Z_NO_FLUSH) != Z_DATA_ERROR) return false;
  const std::string reason = z.msg;
  return reason == "invalid code lengths set" || reason == "invalid literal/lengths set" ||
         reason == "invalid distances set";
}

bool hasFastEngine() {
  return inflateEngines().front() != InflateEngine::zlib;
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

Bytes withHeader(Bytes stream, unsigned method, unsigned flags) {
  stream[0] = static_cast<std::byte>(method);
  stream[1] = static_cast<std::byte>(flags);
  return stream;
}

struct Sample {
  const char* name;
  Bytes inflated;
  Bytes stream;
};

/// Whole streams of all kinds of blocks, small enough for damage at each bit.
std::vector<Sample> wholeStreams() {
  const Bytes letters = mixedBytes(150, 2, 1);
  Bytes repeated = mixedBytes(280, 1, 2);
  repeated.insert(repeated.end(), repeated.begin(), repeated.begin() + 280);
  const Bytes run(520, std::byte{'a'});
  const Bytes pair(8, std::byte{'b'});
  return {
      {"no data", {}, deflated({}, 1)},
      {"stored", letters, deflated(letters, 100, {.level = 0})},
      {"fixed", run, deflated(run, 300, {.strategy = Z_FIXED})},
      {"dynamic", letters, deflated(letters, 150)},
      {"dynamic, no matches", letters, deflated(letters, 150, {.strategy = Z_HUFFMAN_ONLY})},
      {"empty stored blocks", pair, deflated(pair, 3, {.flush = Z_SYNC_FLUSH})},
      {"empty fixed blocks", pair, deflated(pair, 3, {.flush = Z_PARTIAL_FLUSH})},
      {"zero that ends the checksum, as behind a stream that lacks it",
       {std::byte{255}},
       deflated({std::byte{255}}, 1)},
      {"distances beyond the header's window", repeated,
       withHeader(deflated(repeated, 560, {.level = 9}), 0x08, 0x1d)},
  };
}

const std::vector<std::uint32_t> kSmallChunks = {0, 16, 65536};

class InflateEngines : public testing::Test {
 protected:
  void SetUp() override { useInflateEngine(inflateEngines().front()); }
  void TearDown() override { useBestInflateEngine(); }
};

TEST_F(InflateEngines, WholeStreamsGiveTheSameWhateverRoomThereIs) {
  for (const Sample& sample : wholeStreams()) {
    SCOPED_TRACE(sample.name);
    EXPECT_EQ(fastEngineTakes(sample.stream, sample.inflated), hasFastEngine());
    for (std::size_t size = 0; size < sample.inflated.size() + 4; ++size) {
      SCOPED_TRACE(size);
      expectSameAnswers(sample.stream, size, kSmallChunks);
    }
    Bytes longer = sample.stream;
    longer.resize(longer.size() + 9, std::byte{0x78});
    expectSameAnswers(longer, sample.inflated.size(), kSmallChunks);
  }
}

TEST_F(InflateEngines, EveryTruncationAndEveryFlippedBitGivesTheSame) {
  int incompleteCodes = 0;
  for (const Sample& sample : wholeStreams()) {
    SCOPED_TRACE(sample.name);
    const std::size_t size = sample.inflated.size();
    for (std::size_t length = 0; length < sample.stream.size(); ++length) {
      SCOPED_TRACE(length);
      const Bytes cut(sample.stream.begin(),
                      sample.stream.begin() + static_cast<std::ptrdiff_t>(length));
      expectSameAnswers(cut, size, kSmallChunks);
    }
    for (std::size_t bit = 0; bit < sample.stream.size() * 8; ++bit) {
      SCOPED_TRACE(bit);
      Bytes flipped = sample.stream;
      flipped[bit / 8] ^= static_cast<std::byte>(1U << bit % 8);
      if (!hasIncompleteCode(flipped)) {
        expectSameAnswers(flipped, size, kSmallChunks);
        continue;
      }
      ++incompleteCodes;
      Bytes output(size);
      EXPECT_TRUE(!inflatePlain(flipped, output).ok() || output == sample.inflated);
    }
  }
  EXPECT_GT(incompleteCodes, 0);
}

TEST_F(InflateEngines, HeadersThatZlibRefusesAreRefused) {
  const Bytes inflated = mixedBytes(40, 8, 3);
  const Bytes stream = deflated(inflated, 40);
  const Bytes refused[] = {withHeader(stream, 0x88, 0x1c),   // window
                           withHeader(stream, 0x77, 0x05),   // method
                           withHeader(stream, 0x78, 0x02),   // check
                           withHeader(stream, 0x78, 0x20)};  // dictionary
  for (const Bytes& damaged : refused) {
    for (const std::size_t size : {inflated.size(), inflated.size() + 6}) {
      Bytes output(size);
      EXPECT_FALSE(inflatePlain(damaged, output).ok());
      expectSameAnswers(damaged, size, kSmallChunks);
    }
  }
}

TEST_F(InflateEngines, WrongChecksumsAreSeenWhereZlibSeesThem) {
  const Bytes inflated(776, std::byte{'a'});
  const Bytes stream = deflated(inflated, 772);
  for (const std::size_t behind : {1u, 4u}) {
    Bytes damaged = stream;
    damaged[stream.size() - behind] ^= std::byte{0x81};
    for (const std::size_t size : {16u, 256u, 772u, 776u, 780u, 800u}) {
      SCOPED_TRACE(size);
      expectSameAnswers(damaged, size, kSmallChunks);
    }
  }
}

TEST_F(InflateEngines, LargeStreamsGiveTheSameForEveryKindOfChunk) {
  constexpr std::size_t kSize = 3 * 65536 + 20000;
  for (const unsigned bits : {1u, 7u, 8u}) {
    for (const std::size_t piece : {std::size_t{65536}, std::size_t{1000}}) {
      for (const int level : {0, 4}) {
        SCOPED_TRACE(testing::Message() << bits << ' ' << piece << ' ' << level);
        const Bytes inflated = mixedBytes(kSize, bits, bits);
        const Bytes stream = deflated(inflated, piece, {.level = level});
        EXPECT_EQ(fastEngineTakes(stream, inflated), hasFastEngine());
        for (const std::size_t size : {kSize, kSize + 70000}) {
          expectSameAnswers(stream, size, {1000, 65536, 131080});
        }
      }
    }
  }
}

TEST_F(InflateEngines, DamageAroundTheLimitsOfLargeChunksGivesTheSame) {
  constexpr std::size_t kSize = 2 * 65536 + 500;
  const Bytes inflated = mixedBytes(kSize, 7, 12);
  const Bytes stream = deflated(inflated, 65536);
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

TEST_F(InflateEngines, InputThatAChunkMayNotSeeIsNotUsed) {
  // The blocks in front of a chunk's bytes take up its input bound, by a few bytes more or less.
  const Bytes inflated = randomBytes(2 * 65536, 13);
  const std::uint64_t bound = PlaneChunkGeometry::of(65536, 4, 32768).inputBound;
  Bytes stream;
  const auto put = [&stream](std::initializer_list<std::size_t> bytes) {
    for (const std::size_t byte : bytes) stream.push_back(static_cast<std::byte>(byte & 255U));
  };
  const auto storeBlock = [&](std::span<const std::byte> content, bool isLast = false) {
    const std::size_t size = content.size();
    put({isLast ? 1U : 0U, size, size >> 8, ~size, ~size >> 8});
    stream.insert(stream.end(), content.begin(), content.end());
  };
  for (std::size_t emptyBlocks = 15; emptyBlocks < 40; ++emptyBlocks) {
    for (const std::size_t inFrontOf : {0u, 2u}) {
      SCOPED_TRACE(emptyBlocks);
      stream.clear();
      put({0x78, 0x01});
      for (std::size_t quarter = 0; quarter < 4; ++quarter) {
        for (std::size_t i = 0; quarter == inFrontOf && i < emptyBlocks; ++i) storeBlock({});
        storeBlock(std::span(inflated).subspan(quarter * 32768, 32768));
      }
      storeBlock({}, true);
      const auto sum = ::adler32(1, zlibBytes(inflated.data()), 2 * 65536);
      put({sum >> 24, sum >> 16, sum >> 8, sum});
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

TEST_F(InflateEngines, NothingBehindInputAndOutputIsTouched) {
  constexpr std::size_t kSize = 65536 + 900;
  const Bytes inflated = mixedBytes(kSize, 6, 14);
  const Bytes stream = deflated(inflated, kSize);
  for (std::size_t length = stream.size() - 40; length <= stream.size(); ++length) {
    GuardedBlock input(length);
    std::copy_n(stream.begin(), length, input.bytes.begin());
    for (const std::size_t size : {kSize - 4, kSize}) {
      GuardedBlock output(size);
      GuardedBlock swap(65536);
      EXPECT_EQ(inflatePlain(input.bytes, output.bytes).ok(),
                length == stream.size() && size == kSize);
      const std::span<std::uint16_t> values(reinterpret_cast<std::uint16_t*>(output.bytes.data()),
                                            size / 2);
      const auto geometry = PlaneChunkGeometry::of(65536, 2, values.size());
      StreamInput guarded(input.bytes);
      EXPECT_TRUE(
          decodePlaneChunks<std::uint16_t>(guarded, values, swap.bytes, geometry, PlaneMode::Plain)
              .streamReady);
    }
  }
}

TEST_F(InflateEngines, ThreadsAndAForkedChildDecodeAtOnce) {
  const Bytes inflated = mixedBytes(100000, 5, 15);
  const Bytes stream = deflated(inflated, 65536);
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
}  // namespace Kelbor::MathModule::Kernels

// Tables, loops and checksum on their own, beside the plainest code that does the same.

#include "deflate_builder.hpp"
#include "inflate/block_header.hpp"
#include "inflate/symbol_loop.hpp"
#include "stream_support.hpp"

namespace Kelbor::Inflate {
namespace {

using namespace Testing;
using CodeLengths = std::vector<std::uint8_t>;

/// Compares the bits with each word of the code in turn.
struct PlainCode {
  explicit PlainCode(const CodeLengths& ofSymbols) : lengths(ofSymbols), words(ofSymbols.size()) {
    unsigned next = 0;
    for (unsigned length = 1; length <= 15; ++length, next <<= 1) {
      for (std::size_t s = 0; s < lengths.size(); ++s) {
        if (lengths[s] != length) continue;
        for (unsigned i = 0; i < length; ++i) words[s] |= (next >> (length - 1 - i) & 1U) << i;
        ++next;
        room -= 32768 >> length;
        ++count;
      }
    }
  }
  [[nodiscard]] bool zlibTakes() const {
    const bool isLone = count == 1 && room == 16384;
    return room == 0 || isLone || count == 0;
  }
  [[nodiscard]] std::pair<unsigned, unsigned> find(unsigned bits) const {
    for (unsigned s = 0; s < lengths.size(); ++s) {
      const unsigned mask = (1U << lengths[s]) - 1;
      if (lengths[s] != 0 && (bits & mask) == words[s]) return {s, lengths[s]};
    }
    return {~0U, 0};
  }
  CodeLengths lengths;
  std::vector<unsigned> words;
  int room = 32768;
  int count = 0;
};

/// A complete code of words up to `longest` bits, with some luck and one change not quite.
CodeLengths someCode(std::size_t symbols, unsigned longest, std::mt19937& random) {
  std::vector<unsigned> words = {0};
  const std::size_t wanted = 1 + random() % std::min<std::size_t>(symbols, 1U << longest);
  for (unsigned tries = 0; words.size() < wanted && tries < 4000; ++tries) {
    const std::size_t at = random() % words.size();
    if (words[at] < longest) words.push_back(++words[at]);
  }
  CodeLengths lengths(symbols);
  for (const unsigned length : words) {
    std::size_t symbol = random() % symbols;
    while (lengths[symbol] != 0) symbol = (symbol + 1) % symbols;
    lengths[symbol] = static_cast<std::uint8_t>(std::max(length, 1U));
  }
  if (random() % 4 == 0) lengths[random() % symbols] = static_cast<std::uint8_t>(random() % 16);
  return lengths;
}

TEST(CodeTables, FindEveryWordAndRefuseWhatZlibRefuses) {
  std::mt19937 random(3);
  const auto tables = std::make_unique<CodeTables>();
  int taken = 0;
  for (int round = 0; round < 120; ++round) {
    const PlainCode literals(someCode(286, round % 2 == 0 ? 9 : 15, random));
    const PlainCode distances(round % 10 == 0 ? CodeLengths(30) : someCode(30, 15, random));
    const bool built = tables->build(literals.lengths, distances.lengths);
    ASSERT_EQ(built, literals.zlibTakes() && distances.zlibTakes());
    if (!built) continue;
    ++taken;
    for (unsigned bits = 0; bits < 32768; bits += 1 + static_cast<unsigned>(random() % 7)) {
      const auto [literal, literalBits] = literals.find(bits);
      const auto far = tables->literalCode.find(bits);
      ASSERT_EQ(far.length, literalBits);
      const std::uint32_t entry = tables->literals[bits % 1024];
      if (literalBits != 0 && literalBits <= kLiteralBits) {
        ASSERT_EQ(far.symbol, literal);
        ASSERT_EQ(entry, literalEntry(literal, literalBits));
      } else {
        ASSERT_EQ(entry, kSpecialEntry);
      }
      const auto [distance, distanceBits] = distances.find(bits);
      const bool isInTable = distanceBits != 0 && distanceBits <= kDistanceBits;
      ASSERT_EQ(tables->distances[bits % 256],
                isInTable ? distanceEntry(distance, distanceBits) : 0);
    }
  }
  EXPECT_GT(taken, 40);
}

TEST(CodeTables, EntriesMeanWhatTheFormatSays) {
  EXPECT_EQ(literalEntry('a', 7), kLiteral | 'a' << 16 | 7U);
  EXPECT_EQ(literalEntry(257, 6), 6U << 25 | 3U << 16 | 6U << 8);
  EXPECT_EQ(literalEntry(284, 8), 8U << 25 | 227U << 16 | 13U << 8);
  EXPECT_EQ(literalEntry(285, 8), 8U << 25 | 258U << 16 | 8U << 8);
  EXPECT_EQ(literalEntry(286, 8), kSpecialEntry);
  EXPECT_EQ(distanceEntry(0, 5), 1U << 16 | 5U << 8 | 5U);
  EXPECT_EQ(distanceEntry(29, 5), 24577U << 16 | 5U << 8 | 18U);
  EXPECT_EQ(distanceEntry(30, 5), 0U);
}

/// A block of all kinds of symbols with the input and output that the loops may touch.
struct Block {
  DeflateBuilder builder;
  Bytes input;
  std::vector<std::byte> output;

  explicit Block(unsigned seed) {
    std::mt19937 random(seed);
    DeflateBuilder::Tokens tokens;
    std::size_t size = 0;
    while (size < 3000) {
      const auto most = static_cast<unsigned>(std::min<std::size_t>(size, 2000));
      if (most == 0 || random() % 3 == 0) {
        tokens.push_back({static_cast<unsigned>(random() % 256)});
        ++size;
        continue;
      }
      const unsigned distance =
          1 + static_cast<unsigned>(random()) % (random() % 2 ? most : std::min(most, 40U));
      const unsigned length = random() % 5 == 0 ? 258 : 3 + static_cast<unsigned>(random() % 256);
      for (unsigned copies = random() % 9 == 0 ? 6 : 1; copies != 0; --copies, size += length) {
        tokens.push_back({length, distance});
      }
    }
    input = builder.fixed(tokens, true).finish();
    input.resize(input.size() + 64);
    output.resize(builder.inflated().size() + kWriteOver, std::byte{0xee});
  }

  /// A lane behind the block's header.
  void enter(Lane& lane) {
    lane.bit = bitAt(input.data()) + 16;
    lane.bitEnd = bitAt(input.data() + input.size() - 64);
    lane.outBegin = lane.out = output.data();
    lane.fastEnd = lane.hardEnd = output.data() + builder.inflated().size();
    readBlockHeader(lane, lane.bitEnd);
  }
  [[nodiscard]] bool isDecoded(const Lane& lane) const {
    return lane.state == LaneState::kTrailer && lane.out == lane.hardEnd &&
           std::equal(lane.outBegin, lane.out, builder.inflated().begin());
  }
};

TEST(SymbolLoops, DecodeAnyNumberOfLanesWhateverTheirEnds) {
  for (const SymbolLoops* loops : symbolLoops()) {
    SCOPED_TRACE(loops->name);
    for (std::size_t count = 1; count <= kMostLanes; ++count) {
      for (unsigned seed = 0; seed < 20; ++seed) {
        const auto lanes = std::make_unique<Lane[]>(kMostLanes);
        std::vector<Block> blocks;
        for (unsigned i = 0; i < count; ++i) blocks.emplace_back(seed * 3 + i);
        for (std::size_t i = 0; i < count; ++i) blocks[i].enter(lanes[i]);
        // An end in the middle is passed by one turn at most.
        std::byte* const middle = lanes[0].out + 500 + seed * 50;
        lanes[0].fastEnd = middle;
        loops->run[count - 1](lanes.get());
        ASSERT_LT(lanes[0].out, middle + 258);
        ASSERT_TRUE(count > 1 || lanes[0].out >= middle);
        for (std::size_t i = 0; i < count; ++i) {
          lanes[i].fastEnd = lanes[i].hardEnd;
          while (lanes[i].state == LaneState::kSymbols && lanes[i].out < lanes[i].fastEnd) {
            loops->run[0](&lanes[i]);
          }
          loops->runToHardEnd(lanes[i]);
          ASSERT_TRUE(blocks[i].isDecoded(lanes[i])) << i;
        }
      }
    }
  }
}

TEST(SymbolLoops, WriteNothingFromTheHardEndOn) {
  const auto lane = std::make_unique<Lane>();
  for (const SymbolLoops* loops : symbolLoops()) {
    Block block(99);
    const std::size_t size = block.builder.inflated().size();
    for (std::size_t room = 0; room < size; room += 1 + room / 16) {
      std::ranges::fill(block.output, std::byte{0xee});
      block.enter(*lane);
      lane->hardEnd = lane->outBegin + room;
      loops->runToHardEnd(*lane);
      ASSERT_EQ(lane->state, LaneState::kRefused);
      ASSERT_LE(lane->out, lane->hardEnd);
      ASSERT_TRUE(std::all_of(block.output.begin() + static_cast<std::ptrdiff_t>(room),
                              block.output.end(), [](std::byte b) { return b == std::byte{0xee}; }))
          << room;
    }
  }
}

TEST(SymbolLoops, SumUpLikeZlib) {
  Bytes bytes = randomBytes(20'000, 5);
  std::fill_n(bytes.begin(), 12'000, std::byte{0xff});
  for (const SymbolLoops* loops : symbolLoops()) {
    for (std::size_t size = 0; size <= bytes.size(); size += 1 + size / 7) {
      for (const std::uint32_t before : {1U, 0xFFF0FFF0U}) {
        ASSERT_EQ(loops->adler32(before, std::span(bytes).first(size)),
                  ::adler32(before, zlibBytes(bytes.data()), static_cast<uInt>(size)))
            << loops->name << ' ' << size;
      }
    }
  }
}

}  // namespace
}  // namespace Kelbor::Inflate

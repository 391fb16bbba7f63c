#include "inflate/block_header.hpp"

#include <algorithm>
#include <array>

namespace Kelbor::Inflate {
namespace {

constexpr std::array<std::uint8_t, kLengthSymbols> kOrderOfLengths = {
    16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

constexpr unsigned kMostLiterals = 286;
constexpr unsigned kMostDistances = 30;

/// The lengths of a block's code words, with room for a run of equal lengths that exceeds the last
/// symbol.
struct CodeLengths {
  static constexpr std::size_t kLongestRun = 138;
  unsigned literalCount;
  unsigned distanceCount;
  std::array<std::uint8_t, kMostLiterals + kMostDistances + kLongestRun> lengths;
};

unsigned takeBits(std::uint64_t& bits, unsigned count) noexcept {
  const auto taken = static_cast<unsigned>(bits & ((1U << count) - 1));
  bits >>= count;
  return taken;
}

/// Reads the code of the lengths; false if it is incomplete.
bool readLengthCode(std::uint64_t& bit, unsigned count, LengthTable& table) noexcept {
  std::array<std::uint8_t, kLengthSymbols> lengths{};
  std::uint64_t bits = peekBits(bit);  // 19 lengths of three bits are 57
  for (unsigned i = 0; i < count; ++i) {
    lengths[kOrderOfLengths[i]] = static_cast<std::uint8_t>(takeBits(bits, 3));
  }
  bit += std::uint64_t{count} * 3;
  return buildLengthTable(lengths, table);
}

bool readLengths(std::uint64_t& bit, std::uint64_t bitEnd, const LengthTable& table,
                 CodeLengths& code) noexcept {
  constexpr unsigned kRepeatLast = 16;
  constexpr unsigned kFewZeros = 17;
  // Each symbol has up to 14 bits, so one word of input has four.
  constexpr int kPerWord = 4;
  const unsigned count = code.literalCount + code.distanceCount;
  unsigned i = 0;
  while (i < count) {
    if (bit > bitEnd) return false;
    const std::uint64_t word = peekBits(bit);
    std::uint64_t bits = word;
    unsigned used = 0;
    for (int k = 0; k < kPerWord && i < count; ++k) {
      const std::uint32_t entry = table[bits & (table.size() - 1)];
      const unsigned symbol = entry >> 8;
      const unsigned length = entry & 255U;
      bits >>= length;
      used += length;
      if (symbol < kRepeatLast) {
        code.lengths[i++] = static_cast<std::uint8_t>(symbol);
        continue;
      }
      if (symbol == kRepeatLast && i == 0) return false;
      const unsigned extraBits = symbol == kRepeatLast ? 2 : symbol == kFewZeros ? 3 : 7;
      const unsigned run = takeBits(bits, extraBits) + (symbol > kFewZeros ? 11 : 3);
      used += extraBits;
      if (run > count - i) return false;
      const std::uint8_t value = symbol == kRepeatLast ? code.lengths[i - 1] : std::uint8_t{0};
      std::fill_n(code.lengths.data() + i, run, value);
      i += run;
    }
    bit += used;
  }
  return bit <= bitEnd;
}

bool readDynamicTables(Lane& lane, std::uint64_t bitEnd) noexcept {
  std::uint64_t bits = peekBits(lane.bit);
  CodeLengths code;
  code.literalCount = takeBits(bits, 5) + 257;
  code.distanceCount = takeBits(bits, 5) + 1;
  const unsigned lengthCount = takeBits(bits, 4) + 4;
  lane.bit += 14;
  if (code.literalCount > kMostLiterals || code.distanceCount > kMostDistances) return false;
  LengthTable table;
  if (!readLengthCode(lane.bit, lengthCount, table)) return false;
  if (!readLengths(lane.bit, bitEnd, table, code)) return false;
  if (code.lengths[kEndOfBlock] == 0) return false;
  const std::span<const std::uint8_t> lengths(code.lengths);
  return lane.tables.build(lengths.first(code.literalCount),
                           lengths.subspan(code.literalCount, code.distanceCount));
}

/// Reads a stored block's length and its complement; false if they don't match.
bool readStoredLength(Lane& lane, std::uint64_t bitEnd, std::size_t& size) noexcept {
  lane.bit = (lane.bit + 7) & ~std::uint64_t{7};
  std::uint64_t bits = peekBits(lane.bit);
  lane.bit += 32;
  if (lane.bit > bitEnd) return false;
  size = takeBits(bits, 16);
  return (size ^ takeBits(bits, 16)) == 0xFFFF;
}

}  // namespace

std::size_t readBlockHeader(Lane& lane, std::uint64_t bitEnd) noexcept {
  enum Kind : unsigned { kStored, kFixed, kDynamic };
  std::uint64_t bits = peekBits(lane.bit);
  lane.isLastBlock = takeBits(bits, 1) != 0;
  lane.bit += 3;
  std::size_t storedBytes = 0;
  bool isValid = lane.bit <= bitEnd;
  lane.state = LaneState::kSymbols;
  switch (takeBits(bits, 2)) {
    case kStored:
      isValid = isValid && readStoredLength(lane, bitEnd, storedBytes);
      lane.state = LaneState::kStored;
      break;
    case kFixed:
      lane.tables = fixedTables();
      break;
    case kDynamic:
      isValid = isValid && readDynamicTables(lane, bitEnd);
      break;
    default:
      isValid = false;
  }
  if (!isValid) lane.state = LaneState::kRefused;
  return storedBytes;
}

}  // namespace Kelbor::Inflate

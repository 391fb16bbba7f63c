#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Kelbor::Inflate {

// Look-up tables for the two codes of a deflate block. An entry has everything about its symbol, so
// that a look-up, a subtraction and a shift decode a length or a distance with its extra bits.
//
// Literal or length, found by the next kLiteralBits bits of input:
//
//   bits   0..7    of a literal: bits of its code word, else 0
//          8..15   of a length: bits of its code word and of its extra bits together, else 0
//         16..24   the literal, or the smallest length of the symbol
//         25..29   of a length or end of block: bits of the code word alone
//         30       no literal and no length: see kSpecial
//         31       a literal
//
// Distance, found by the next kDistanceBits bits:
//
//   bits   0..7    bits of the code word and of its extra bits together
//          8..15   bits of the code word alone
//         16..31   the smallest distance of the symbol
//
// A distance entry of 0 means a code word that is longer than kDistanceBits or does not exist.

inline constexpr unsigned kLiteralBits = 10;
inline constexpr unsigned kDistanceBits = 8;
inline constexpr unsigned kMostCodeBits = 15;

inline constexpr std::uint32_t kLiteral = 0x80000000U;
/// End of block or, if bits 25..29 are 0, a code word that is longer than kLiteralBits or does not
/// exist. As a length it exceeds every real one, so that the test for long matches catches it too.
inline constexpr std::uint32_t kSpecial = 0x40000000U;
inline constexpr std::uint32_t kSpecialEntry = kSpecial | 511U << 16;

inline constexpr unsigned kEndOfBlock = 256;
inline constexpr std::size_t kLiteralSymbols = 288;
inline constexpr std::size_t kDistanceSymbols = 32;

/// A canonical code: code words and symbols by length. Finds words of any length.
template <std::size_t kSymbols>
struct CanonicalCode {
  std::array<std::uint16_t, kMostCodeBits + 1> count;   ///< words of each length
  std::array<std::uint16_t, kMostCodeBits + 1> first;   ///< first word of each length
  std::array<std::uint16_t, kMostCodeBits + 1> offset;  ///< its place in `symbols`
  std::array<std::uint16_t, kSymbols> symbols;

  static constexpr unsigned kNone = kSymbols;

  /// The symbol whose code word is at the low end of `bits`, and the word's length. kNone if there
  /// is no such word.
  struct Found {
    unsigned symbol;
    unsigned length;
  };
  [[nodiscard]] constexpr Found find(std::uint64_t bits) const noexcept {
    unsigned word = 0;
    for (unsigned length = 1; length <= kMostCodeBits; ++length) {
      word = word << 1 | static_cast<unsigned>(bits >> (length - 1) & 1);
      const unsigned place = word - first[length];
      if (place < count[length]) return {symbols[offset[length] + place], length};
    }
    return {kNone, 0};
  }
};

enum class CodeKind { kComplete, kIncomplete, kRefused };

/// Counts words by length and orders the symbols. kRefused if the words exceed what the lengths
/// allow or leave some unused, except for the two incomplete codes that zlib accepts: no word, or a
/// single one of one bit.
template <std::size_t kSymbols>
[[nodiscard]] constexpr CodeKind orderCode(std::span<const std::uint8_t> lengths,
                                           CanonicalCode<kSymbols>& code) noexcept {
  // In shares that take turns: neighbours often have the same length, and a counter waits for its
  // own last increment.
  constexpr std::size_t kShares = 4;
  const std::size_t perShare = (lengths.size() + kShares - 1) / kShares;
  std::array<std::array<std::uint16_t, kMostCodeBits + 1>, kShares> place{};
  const auto forEachSymbol = [&](auto&& f) {
    for (std::size_t i = 0; i < perShare; ++i) {
      for (std::size_t share = 0, symbol = i; share < kShares; ++share, symbol += perShare) {
        if (symbol < lengths.size()) f(symbol, place[share][lengths[symbol]]);
      }
    }
  };
  forEachSymbol([](std::size_t /*symbol*/, std::uint16_t& count) { ++count; });
  int room = 1;
  unsigned word = 0;
  unsigned offset = 0;
  unsigned longest = 0;
  // From counts to the place of the first symbol of each share.
  const auto turnIntoPlaces = [&](unsigned length) {
    for (auto& share : place) {
      const unsigned count = share[length];
      share[length] = static_cast<std::uint16_t>(offset);
      offset += count;
    }
  };
  code.count[0] = 0;
  for (unsigned length = 1; length <= kMostCodeBits; ++length) {
    code.offset[length] = static_cast<std::uint16_t>(offset);
    turnIntoPlaces(length);
    const unsigned count = offset - code.offset[length];
    code.count[length] = static_cast<std::uint16_t>(count);
    room = room * 2 - static_cast<int>(count);
    if (room < 0) return CodeKind::kRefused;
    word <<= 1;
    code.first[length] = static_cast<std::uint16_t>(word);
    word += count;
    if (count != 0) longest = length;
  }
  turnIntoPlaces(0);  // after the others: cheaper than a test for each symbol
  forEachSymbol([&](std::size_t symbol, std::uint16_t& at) {
    code.symbols[at++] = static_cast<std::uint16_t>(symbol);
  });
  if (room == 0) return CodeKind::kComplete;
  return longest <= 1 ? CodeKind::kIncomplete : CodeKind::kRefused;
}

/// Entry of a literal or length symbol with a code word of `length` bits; kSpecialEntry for the two
/// undefined symbols.
[[nodiscard]] std::uint32_t literalEntry(unsigned symbol, unsigned length) noexcept;
/// Entry of a distance symbol; 0 for the two undefined symbols.
[[nodiscard]] std::uint32_t distanceEntry(unsigned symbol, unsigned length) noexcept;

/// Both codes of a block.
struct CodeTables {
  std::array<std::uint32_t, 1U << kLiteralBits> literals;
  std::array<std::uint32_t, 1U << kDistanceBits> distances;
  CanonicalCode<kLiteralSymbols> literalCode;
  CanonicalCode<kDistanceSymbols> distanceCode;

  /// Builds the tables from the lengths of the code words, 0 to 15 bits, by symbol. False for codes
  /// that zlib refuses; the tables are then unusable.
  [[nodiscard]] bool build(std::span<const std::uint8_t> literalLengths,
                           std::span<const std::uint8_t> distanceLengths) noexcept;
};

/// The tables of blocks with the fixed code.
[[nodiscard]] const CodeTables& fixedTables() noexcept;

/// The code of the code lengths in a block's header: 19 symbols of up to 7 bits. An entry is the
/// symbol * 256 plus the length of its word.
inline constexpr unsigned kLengthCodeBits = 7;
inline constexpr std::size_t kLengthSymbols = 19;
using LengthTable = std::array<std::uint32_t, 1U << kLengthCodeBits>;

/// False for an incomplete code.
[[nodiscard]] bool buildLengthTable(std::span<const std::uint8_t, kLengthSymbols> lengths,
                                    LengthTable& table) noexcept;

}  // namespace Kelbor::Inflate

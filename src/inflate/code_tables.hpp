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
  code.count.fill(0);
  for (const std::uint8_t length : lengths) ++code.count[length];
  code.count[0] = 0;
  std::array<std::uint16_t, kMostCodeBits + 1> next{};
  int room = 1;
  unsigned word = 0;
  unsigned offset = 0;
  unsigned longest = 0;
  for (unsigned length = 1; length <= kMostCodeBits; ++length) {
    const unsigned count = code.count[length];
    room = room * 2 - static_cast<int>(count);
    if (room < 0) return CodeKind::kRefused;
    word <<= 1;
    code.first[length] = static_cast<std::uint16_t>(word);
    code.offset[length] = next[length] = static_cast<std::uint16_t>(offset);
    word += count;
    offset += count;
    if (count != 0) longest = length;
  }
  for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    const unsigned length = lengths[symbol];
    if (length != 0) code.symbols[next[length]++] = static_cast<std::uint16_t>(symbol);
  }
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

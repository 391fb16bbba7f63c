#include "inflate/code_tables.hpp"

#include <algorithm>

namespace Kelbor::Inflate {
namespace {

/// A symbol's entry before the length of its code word is known, and the amount to add per bit of
/// that length.
struct EntryParts {
  std::uint32_t base = 0;
  std::uint32_t perBit = 0;
};

constexpr std::array<EntryParts, kLiteralSymbols> literalParts() {
  std::array<EntryParts, kLiteralSymbols> parts;
  for (std::uint32_t i = 0; i < kEndOfBlock; ++i) parts[i] = {kLiteral | i << 16, 1};
  parts[kEndOfBlock] = {kSpecialEntry, 1U << 25};
  constexpr std::uint32_t kFirstLength = kEndOfBlock + 1;
  constexpr std::uint32_t kLengths = 29;
  std::uint32_t length = 3;
  for (std::uint32_t i = 0; i + 1 < kLengths; ++i) {
    const std::uint32_t extraBits = i < 8 ? 0 : i / 4 - 1;
    parts[kFirstLength + i] = {length << 16 | extraBits << 8, (1U << 25) + 0x100};
    length += 1U << extraBits;
  }
  parts[kFirstLength + kLengths - 1] = {258U << 16, (1U << 25) + 0x100};
  for (std::size_t i = kFirstLength + kLengths; i < parts.size(); ++i)
    parts[i] = {kSpecialEntry, 0};
  return parts;
}

constexpr std::array<EntryParts, kDistanceSymbols> distanceParts() {
  std::array<EntryParts, kDistanceSymbols> parts;
  constexpr std::uint32_t kDistances = 30;
  std::uint32_t distance = 1;
  for (std::uint32_t i = 0; i < kDistances; ++i) {
    const std::uint32_t extraBits = i < 4 ? 0 : i / 2 - 1;
    parts[i] = {distance << 16 | extraBits, 0x101};
    distance += 1U << extraBits;
  }
  return parts;
}

constexpr auto kLiteralParts = literalParts();
constexpr auto kDistanceParts = distanceParts();

/// The bits of each number below 2^kLiteralBits in reverse order.
constexpr auto kReversed = [] {
  std::array<std::uint16_t, 1U << kLiteralBits> reversed{};
  for (std::uint32_t i = 1; i < reversed.size(); ++i) {
    reversed[i] =
        static_cast<std::uint16_t>(reversed[i >> 1] >> 1 | (i & 1U) << (kLiteralBits - 1));
  }
  return reversed;
}();

/// Where a code word of `bits` bits begins in a table: input has the first bit of a word lowest.
constexpr std::uint32_t placeOf(std::uint32_t word, unsigned bits) noexcept {
  return kReversed[word << (kLiteralBits - bits)];
}

/// Fills a table of 2^kBits entries. Words longer than kBits and words that don't exist get
/// `unset`.
template <unsigned kBits, std::size_t kSymbols, class Entry>
void fillTable(const CanonicalCode<kSymbols>& code, CodeKind kind, std::uint32_t unset,
               std::uint32_t* table, Entry entry) noexcept {
  constexpr std::uint32_t kSize = 1U << kBits;
  if (kind == CodeKind::kIncomplete) {
    std::fill_n(table, kSize, unset);
    if (code.count[1] == 0) return;
    const std::uint32_t only = entry(code.symbols[0], 1);
    for (std::uint32_t i = 0; i < kSize; i += 2) table[i] = only;
    return;
  }
  // Built by doubling: for words of at most n bits, the table of n + 1 bits is the table of n bits
  // twice.
  std::uint32_t word = 0;
  const std::uint16_t* symbol = code.symbols.data();
  for (unsigned length = 1; length <= kBits; ++length) {
    const std::uint32_t half = 1U << (length - 1);
    if (symbol != code.symbols.data()) std::copy_n(table, half, table + half);
    word *= 2;
    for (unsigned left = code.count[length]; left != 0; --left) {
      table[placeOf(word++, length)] = entry(*symbol++, length);
    }
  }
  while (word != kSize) table[placeOf(word++, kBits)] = unset;
}

CodeTables makeFixedTables() noexcept {
  std::array<std::uint8_t, kLiteralSymbols> literals;
  std::fill_n(literals.begin(), 144, std::uint8_t{8});
  std::fill_n(literals.begin() + 144, 112, std::uint8_t{9});
  std::fill_n(literals.begin() + 256, 24, std::uint8_t{7});
  std::fill_n(literals.begin() + 280, 8, std::uint8_t{8});
  std::array<std::uint8_t, kDistanceSymbols> distances;
  distances.fill(5);
  CodeTables tables;
  static_cast<void>(tables.build(literals, distances));
  return tables;
}

}  // namespace

std::uint32_t literalEntry(unsigned symbol, unsigned length) noexcept {
  return kLiteralParts[symbol].base + kLiteralParts[symbol].perBit * length;
}

std::uint32_t distanceEntry(unsigned symbol, unsigned length) noexcept {
  return kDistanceParts[symbol].base + kDistanceParts[symbol].perBit * length;
}

bool CodeTables::build(std::span<const std::uint8_t> literalLengths,
                       std::span<const std::uint8_t> distanceLengths) noexcept {
  const CodeKind literalKind = orderCode(literalLengths, literalCode);
  if (literalKind == CodeKind::kRefused) return false;
  const CodeKind distanceKind = orderCode(distanceLengths, distanceCode);
  if (distanceKind == CodeKind::kRefused) return false;
  fillTable<kLiteralBits>(literalCode, literalKind, kSpecialEntry, literals.data(), literalEntry);
  fillTable<kDistanceBits>(distanceCode, distanceKind, 0, distances.data(), distanceEntry);
  return true;
}

const CodeTables& fixedTables() noexcept {
  static const CodeTables tables = makeFixedTables();
  return tables;
}

bool buildLengthTable(std::span<const std::uint8_t, kLengthSymbols> lengths,
                      LengthTable& table) noexcept {
  CanonicalCode<kLengthSymbols> code;
  const CodeKind kind = orderCode<kLengthSymbols>(lengths, code);
  if (kind != CodeKind::kComplete) return false;
  fillTable<kLengthCodeBits>(code, kind, 0, table.data(), [](unsigned symbol, unsigned length) {
    return static_cast<std::uint32_t>(symbol << 8 | length);
  });
  return true;
}

}  // namespace Kelbor::Inflate

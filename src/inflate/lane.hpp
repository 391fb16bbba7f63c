#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "inflate/code_tables.hpp"

namespace Kelbor::Inflate {

/// The part of a stream that comes next.
enum class LaneState : std::uint8_t { kHeader, kSymbols, kStored, kTrailer, kDone, kRefused };

/// One stream while its symbols are decoded: the variables that the fast loop keeps in registers,
/// and the tables of the current block. Lanes that are decoded together are elements of one array,
/// so that one base address serves all of their tables.
///
/// A position in the input is its address * 8 plus the bit within that byte: one register instead
/// of a pointer, a buffer of bits and their count.
struct alignas(64) Lane {
  CodeTables tables;
  std::uint64_t bit;     ///< the next bit of input
  std::uint64_t bitEnd;  ///< where the fast loop ends
  std::byte* out;        ///< the next byte of output
  std::byte* fastEnd;    ///< where the fast loop ends
  std::byte* hardEnd;    ///< nothing may be written from here on
  std::byte* outBegin;   ///< the first byte that a match may refer to
  LaneState state;
  bool isLastBlock;
};

/// Most bytes that the fast loop reads after a lane's bitEnd: one turn of 64 bits and two words.
/// Most bytes that it writes after fastEnd: a match of 258 bytes, rounded up to whole copies.
inline constexpr std::size_t kReadOver = 24;
inline constexpr std::size_t kWriteOver = 320;

/// The largest distance of a match.
inline constexpr std::size_t kHistoryBytes = 32768;

[[nodiscard]] inline std::uint64_t bitAt(const std::byte* address) noexcept {
  return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address)) * 8;
}
[[nodiscard]] inline const std::byte* byteAt(std::uint64_t bit) noexcept {
  return reinterpret_cast<const std::byte*>(static_cast<std::uintptr_t>(bit >> 3));
}

/// At least 57 bits from a position. Reads eight bytes.
[[nodiscard]] inline std::uint64_t peekBits(std::uint64_t bit) noexcept {
  std::uint64_t word;
  std::memcpy(&word, byteAt(bit), sizeof word);
  return word >> (bit & 7);
}

}  // namespace Kelbor::Inflate

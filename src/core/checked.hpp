#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/error.hpp"

namespace Kelbor {

/// Texts that a host sees when it asks beyond the data. They are the library's own, so they don't
/// vary with the standard library. No log line accompanies them.
inline constexpr const char* kInvalidVectorSubscript = "invalid vector<T> subscript";
inline constexpr const char* kInvalidBoolSubscript = "invalid vector<bool> subscript";
inline constexpr const char* kVectorTooLong = "vector<T> too long";
inline constexpr const char* kInvalidStoiArgument = "invalid stoi argument";
inline constexpr const char* kStoiOutOfRange = "stoi argument out of range";

/// `index` as a position among `count` items; std::out_of_range with `text` if there is none.
/// Compared as unsigned 64 bits, so a negative index is out of range, too.
template <std::integral I>
[[nodiscard]] std::size_t checkedIndex(I index, std::size_t count,
                                       const char* text = kInvalidVectorSubscript) {
  const auto position = static_cast<std::uint64_t>(static_cast<std::int64_t>(index));
  if (position >= count) raiseUnlogged<std::out_of_range>(text);
  return static_cast<std::size_t>(position);
}

/// Element `index` of a vector, span or array; std::out_of_range "invalid vector<T> subscript".
template <class Sequence, std::integral I>
[[nodiscard]] decltype(auto) checkedAt(Sequence&& items, I index) {
  return items[checkedIndex(index, items.size())];
}

/// Bit `index` of a packed vector; std::out_of_range "invalid vector<bool> subscript".
template <std::integral I>
[[nodiscard]] bool checkedBit(const std::vector<bool>& bits, I index) {
  return bits[checkedIndex(index, bits.size(), kInvalidBoolSubscript)];
}

/// a x b; std::length_error "vector<T> too long" if the product exceeds 64 bits.
[[nodiscard]] inline std::uint64_t checkedProduct(std::uint64_t a, std::uint64_t b) {
  std::uint64_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) raiseUnlogged<std::length_error>(kVectorTooLong);
  return product;
}

/// Reads a decimal number as std::stoi does: leading white space and a sign are accepted, and
/// whatever follows the digits is ignored. std::invalid_argument "invalid stoi argument" without a
/// digit, std::out_of_range "stoi argument out of range" beyond 32 bits.
[[nodiscard]] inline std::int32_t checkedStoi(std::string_view text) {
  std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
  bool negative = false;
  if (at != std::string_view::npos && (text[at] == '-' || text[at] == '+')) {
    negative = text[at++] == '-';
  }
  if (at == std::string_view::npos || at >= text.size() || text[at] < '0' || text[at] > '9') {
    raiseUnlogged<std::invalid_argument>(kInvalidStoiArgument);
  }
  std::int64_t value = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    value = value * 10 + (text[at] - '0');
    if (value > std::int64_t{std::numeric_limits<std::int32_t>::max()} + (negative ? 1 : 0)) {
      raiseUnlogged<std::out_of_range>(kStoiOutOfRange);
    }
  }
  return static_cast<std::int32_t>(negative ? -value : value);
}

}  // namespace Kelbor

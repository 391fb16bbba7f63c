#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "core/byte_cursor.hpp"
#include "core/error.hpp"

namespace morvex {

/// Widest fixed text field that is believed. A name is a line of text; a wider field could only
/// come from damaged bytes, and all later item sizes are sums with it that must not wrap.
inline constexpr std::uint64_t kMaxFixedTextWidth = std::uint64_t{1} << 20;

/// The width as given, or InternalError where it is above `kMaxFixedTextWidth`.
inline std::size_t requireTextWidth(std::uint64_t width) {
  if (width > kMaxFixedTextWidth) Kelbor::raise<InternalError>("Text field is too wide");
  return static_cast<std::size_t>(width);
}

/// Takes `count` packed values; the count is held against the remaining bytes before the vector
/// is sized.
template <class T>
requires std::is_trivially_copyable_v<T>
[[nodiscard]] std::vector<T> readVector(Kelbor::RecordCursor& cursor, std::uint64_t count) {
  std::vector<T> values(static_cast<std::size_t>(cursor.checkCount(count, sizeof(T))));
  const auto bytes = cursor.take(values.size() * sizeof(T));
  if (!bytes.empty()) std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

/// Takes `count` bool bytes, each true above zero.
[[nodiscard]] inline std::vector<bool> readBools(Kelbor::RecordCursor& cursor,
                                                 std::uint64_t count) {
  const auto bytes = cursor.take(count);
  std::vector<bool> flags(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) flags[i] = bytes[i] != std::byte{0};
  return flags;
}

/// Takes `count` text fields of exactly `width` bytes each; a text ends at its first zero byte or
/// fills its field. Fields may be 0 bytes wide, so the caller has checked `count` by what else
/// each item of the record stores.
[[nodiscard]] inline std::vector<std::string> readFixedTexts(Kelbor::RecordCursor& cursor,
                                                             std::uint64_t count,
                                                             std::size_t width) {
  std::vector<std::string> texts(static_cast<std::size_t>(count));
  for (std::string& text : texts) text = Kelbor::textOf(cursor.take(width));
  return texts;
}

/// Takes a count that is stored signed: none where it is not positive, else held against the
/// remaining bytes.
[[nodiscard]] inline std::uint64_t readSignedCount(Kelbor::RecordCursor& cursor,
                                                   std::size_t smallestItem) {
  const auto count = cursor.read<std::int32_t>();
  return cursor.checkCount(count > 0 ? static_cast<std::uint64_t>(count) : 0, smallestItem);
}

}  // namespace morvex

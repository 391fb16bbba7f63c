#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "core/error.hpp"
#include "metadata/record_cursor.hpp"

namespace morvex {

/// Widest fixed text field that is accepted, in bytes. A name is a line of text; a wider field can
/// only be damage, and sums of item sizes with it must not wrap.
inline constexpr std::uint64_t kMaxFixedTextWidth = std::uint64_t{1} << 20;

/// Returns the width; InternalError if it is above `kMaxFixedTextWidth`.
inline std::size_t requireTextWidth(std::uint64_t width) {
  if (width > kMaxFixedTextWidth) Kelbor::raise<InternalError>("Text field is too wide");
  return static_cast<std::size_t>(width);
}

/// Reads `count` packed values; checks the count against the remaining bytes before it sizes the
/// vector.
template <class T>
requires std::is_trivially_copyable_v<T>
[[nodiscard]] std::vector<T> readVector(RecordCursor& cursor, std::uint64_t count) {
  std::vector<T> values(static_cast<std::size_t>(cursor.checkCount(count, sizeof(T))));
  const auto bytes = cursor.take(values.size() * sizeof(T));
  if (!bytes.empty()) std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

/// Reads `count` bool bytes, each true above zero.
[[nodiscard]] inline std::vector<bool> readBools(RecordCursor& cursor, std::uint64_t count) {
  const auto bytes = cursor.take(count);
  std::vector<bool> flags(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) flags[i] = bytes[i] != std::byte{0};
  return flags;
}

/// Reads `count` text fields of exactly `width` bytes each; a text ends at its first zero byte or
/// fills its field. Fields may be 0 bytes wide, so that this function can't bound `count`: callers
/// check it by what else each item of the record stores.
[[nodiscard]] inline std::vector<std::string> readFixedTexts(RecordCursor& cursor,
                                                             std::uint64_t count,
                                                             std::size_t width) {
  std::vector<std::string> texts(static_cast<std::size_t>(count));
  for (std::string& text : texts) text = Kelbor::textOf(cursor.take(width));
  return texts;
}

/// Reads a count that is stored signed: 0 if it is not positive, else checked against the remaining
/// bytes.
[[nodiscard]] inline std::uint64_t readSignedCount(RecordCursor& cursor, std::size_t smallestItem) {
  const auto count = cursor.read<std::int32_t>();
  return cursor.checkCount(count > 0 ? static_cast<std::uint64_t>(count) : 0, smallestItem);
}

}  // namespace morvex

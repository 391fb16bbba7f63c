#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

#include "core/error.hpp"

namespace Kelbor {

static_assert(std::endian::native == std::endian::little, "file integers are not swapped");

/// Reads packed little-endian values from one block. A read past its end raises `E`. The block is
/// borrowed: its owner must outlive the cursor and all that it returns.
template <class E>
class BasicByteCursor {
 public:
  explicit BasicByteCursor(std::span<const std::byte> block) : rest_(block) {}

  [[nodiscard]] std::size_t remaining() const noexcept { return rest_.size(); }

  std::span<const std::byte> take(std::uint64_t count) {
    if (count > rest_.size()) raise<E>("Record ends before its last field");
    const auto taken = rest_.first(static_cast<std::size_t>(count));
    rest_ = rest_.subspan(static_cast<std::size_t>(count));
    return taken;
  }

  template <class T>
  requires std::is_trivially_copyable_v<T> T read() {
    T value;
    std::memcpy(&value, take(sizeof(T)).data(), sizeof(T));
    return value;
  }

  /// Reads a stored count of items, each of which takes at least `smallestItem` bytes (at least 1)
  /// of what remains. Refuses a count that can't be true before anything is sized by it.
  template <class Count = std::uint64_t>
  std::uint64_t readCount(std::size_t smallestItem) {
    return checkCount(static_cast<std::uint64_t>(read<Count>()), smallestItem);
  }

  /// The same check for a count from elsewhere; returns it.
  std::uint64_t checkCount(std::uint64_t count, std::size_t smallestItem) const {
    if (count > rest_.size() / smallestItem) raise<E>("Count exceeds the record");
    return count;
  }

 private:
  std::span<const std::byte> rest_;
};

/// For the container's own tables.
using ContainerCursor = BasicByteCursor<KelborDataException>;
/// The bytes as text, up to the first zero byte. A view of them.
[[nodiscard]] inline std::string_view textOf(std::span<const std::byte> bytes) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return all.substr(0, all.find('\0'));
}

}  // namespace Kelbor

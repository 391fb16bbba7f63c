#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace Kelbor::Inflate {

/// A stored stream, read from memory as a whole or through a window that moves along it, so that a
/// stream of any length needs only the window's memory.
class StreamInput {
 public:
  /// Fills the span with the stream's bytes from a position; false on failure. Must not throw.
  using Fetch = std::function<bool(std::uint64_t position, std::span<std::byte> target)>;

  /// All bytes, in memory and borrowed.
  explicit StreamInput(std::span<const std::byte> whole) noexcept
      : size_(whole.size()), held_(whole) {}
  /// `size` bytes that `fetch` reads. `window` is borrowed and has the size of the largest
  /// look-ahead.
  StreamInput(std::uint64_t size, Fetch fetch, std::span<std::byte> window)
      : size_(size), fetch_(std::move(fetch)), window_(window) {}

  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
  /// Bytes not yet consumed.
  [[nodiscard]] std::uint64_t unread() const noexcept { return size_ - position_; }

  /// The next bytes, at least `wanted` of them or all that are left. If fetching fails, bytes are
  /// missing as if the stream ended there. Valid until the next call.
  [[nodiscard]] std::span<const std::byte> ahead(std::uint64_t wanted) noexcept;
  void consume(std::uint64_t count) noexcept;
  /// Returns to the first byte.
  void rewind() noexcept;

 private:
  std::uint64_t size_;
  std::uint64_t position_ = 0;
  /// The bytes in memory from the position.
  std::span<const std::byte> held_;
  Fetch fetch_;
  std::span<std::byte> window_;
};

}  // namespace Kelbor::Inflate

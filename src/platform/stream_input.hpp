#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace Kelbor::Platform {

/// A stored stream as it is taken in: as a whole from memory, or through a window that moves along
/// it, so that a stream of any length needs no more memory than that.
class StreamInput {
 public:
  /// Fills the span with the stream's bytes from a position on; false if that fails. Must not
  /// throw.
  using Fetch = std::function<bool(std::uint64_t position, std::span<std::byte> target)>;

  /// All bytes in memory, borrowed.
  explicit StreamInput(std::span<const std::byte> whole) noexcept
      : size_(whole.size()), held_(whole) {}
  /// `size` bytes behind `fetch`. `window` is borrowed, and as large as the largest look ahead.
  StreamInput(std::uint64_t size, Fetch fetch, std::span<std::byte> window)
      : size_(size), fetch_(std::move(fetch)), window_(window) {}

  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
  /// Bytes that have not been consumed.
  [[nodiscard]] std::uint64_t unread() const noexcept { return size_ - position_; }

  /// The next bytes: `wanted` of them or more, or all that are left. What could not be fetched is
  /// missing, as if the stream ended there. Holds until the next call.
  [[nodiscard]] std::span<const std::byte> ahead(std::uint64_t wanted) noexcept;
  void consume(std::uint64_t count) noexcept;
  /// Back to the first byte.
  void rewind() noexcept;

 private:
  std::uint64_t size_;
  std::uint64_t position_ = 0;
  /// What is in memory from the position on.
  std::span<const std::byte> held_;
  Fetch fetch_;
  std::span<std::byte> window_;
};

}  // namespace Kelbor::Platform

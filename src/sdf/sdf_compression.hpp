#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace Kelbor::MathModule {

/// A block of bytes, not zeroed.
class ByteBlock {
 public:
  ByteBlock() = default;
  explicit ByteBlock(std::size_t size)
      : bytes_(std::make_unique_for_overwrite<std::byte[]>(size)), size_(size) {}

  [[nodiscard]] std::span<std::byte> view() noexcept { return {bytes_.get(), size_}; }
  [[nodiscard]] std::span<const std::byte> view() const noexcept { return {bytes_.get(), size_}; }
  /// Reduces the block to its first `size` bytes; keeps the memory.
  void shorten(std::size_t size) noexcept { size_ = size; }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_ = 0;
};

/// Inflates one zlib stream of any length into `target` and returns the number of bytes, which may
/// be less than `target` holds. Empty, after an ERROR line, if the stream is damaged, ends early or
/// exceeds `target`.
[[nodiscard]] std::optional<std::uint64_t> inflateStream(std::span<const std::byte> stored,
                                                         std::span<std::byte> target);

/// Deflates the concatenation of the sources. Empty if the stream would not be shorter or, after an
/// ERROR line, if zlib refuses. Two non-empty sources are always refused, since the stream is
/// finished after the first one: existing files have such data stored plainly, and stay
/// byte-identical when written again.
[[nodiscard]] std::optional<ByteBlock> deflateIfShorter(
    std::span<const std::span<const std::byte>> sources);

}  // namespace Kelbor::MathModule

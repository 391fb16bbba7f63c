#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace Kelbor::MathModule {

/// No deflate stream yields more than this many bytes for each byte of its own.
inline constexpr std::uint64_t kMaxInflation = 1032;

/// A block of bytes whose content is not zeroed before it is filled.
class ByteBlock {
 public:
  ByteBlock() = default;
  explicit ByteBlock(std::size_t size)
      : bytes_(std::make_unique_for_overwrite<std::byte[]>(size)), size_(size) {}

  [[nodiscard]] std::span<std::byte> view() noexcept { return {bytes_.get(), size_}; }
  [[nodiscard]] std::span<const std::byte> view() const noexcept { return {bytes_.get(), size_}; }
  /// Hides the bytes behind the first `size`.
  void shorten(std::size_t size) noexcept { size_ = size; }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_ = 0;
};

/// Inflates one zlib stream of any length into `target` and returns the number of bytes that it
/// gave, which may be less than there is room for. Nothing, after an ERROR line, if the stream is
/// damaged, ends early, or holds more than `target` takes.
[[nodiscard]] std::optional<std::uint64_t> inflateStream(std::span<const std::byte> stored,
                                                         std::span<std::byte> target);

/// Deflates the concatenation of the sources. Nothing if the stream would not be shorter, or,
/// after an ERROR line, if zlib refuses. Two sources that hold something are always refused: the
/// stream is finished after the first one. Files that exist depend on this being stored plainly.
[[nodiscard]] std::optional<ByteBlock> deflateIfShorter(
    std::span<const std::span<const std::byte>> sources);

}  // namespace Kelbor::MathModule

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/idle_pool.hpp"

namespace Kelbor {

/// Blocks of the C heap for content. All but the smallest, of which every read takes some and gives
/// them back, are kept for the next: the C library would return their pages to the system each
/// time, and asking for them again costs as much as decoding into them. What is kept is bounded and
/// freed with the pool. Nothing waits here, and any thread may call.
class BlockPool {
 public:
  BlockPool() = default;
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  ~BlockPool();

  /// `size` bytes, not zeroed; null where memory runs out.
  [[nodiscard]] void* take(std::uint64_t size) noexcept;
  /// Takes back a block that was taken for `size` bytes. Null is well.
  void giveBack(void* block, std::uint64_t size) noexcept;
  /// A block of another size with the bytes of this one, as many as fit; the old one is gone. Null,
  /// with the old one gone as well, where memory runs out.
  [[nodiscard]] void* resize(void* block, std::uint64_t oldSize, std::uint64_t newSize) noexcept;

 private:
  // Blocks that are kept have powers of two as their sizes, from 1 KiB to 4 MiB, and serve sizes
  // from half the smallest on.
  static constexpr std::uint64_t kSmallestKept = 1024;
  static constexpr std::size_t kClasses = 13;
  static constexpr std::uint64_t kMostBytes = 16777216;

  /// kClasses for sizes of which no blocks are kept.
  [[nodiscard]] static std::size_t classOf(std::uint64_t size) noexcept;
  [[nodiscard]] static constexpr std::uint64_t capacityOf(std::size_t index) noexcept {
    return kSmallestKept << index;
  }
  /// False where enough is kept already.
  [[nodiscard]] bool keep(void* block, std::size_t index) noexcept;

  std::array<Platform::IdlePool<void, std::free>, kClasses> kept_;
  std::atomic<std::uint64_t> keptBytes_{0};
};

}  // namespace Kelbor

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/idle_pool.hpp"

namespace Kelbor {

/// Caches freed blocks: free() would unmap them, and faulting their pages in again costs as much as
/// decoding into them. Small blocks stay with the C heap, which caches them itself. The cache is
/// bounded, lock-free, safe for any thread, and freed with the pool.
class BlockPool {
 public:
  BlockPool() = default;
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  ~BlockPool();

  /// `size` bytes, not zeroed; null if memory runs out.
  [[nodiscard]] void* take(std::uint64_t size) noexcept;
  /// Takes back a block that was taken for `size` bytes; it may be null.
  void giveBack(void* block, std::uint64_t size) noexcept;
  /// Returns a block of `newSize` bytes with the bytes of the old one, as far as they fit, or null
  /// if memory runs out. The old block is gone either way.
  [[nodiscard]] void* resize(void* block, std::uint64_t oldSize, std::uint64_t newSize) noexcept;

 private:
  // Kept blocks have sizes of powers of two, 1 KiB to 4 MiB. Requests from half the smallest size
  // on use them: a block is at most twice as large as requested.
  static constexpr std::uint64_t kSmallestKept = 1024;
  static constexpr std::size_t kClasses = 13;
  static constexpr std::uint64_t kMostBytes = 16777216;

  /// kClasses for sizes that are not kept.
  [[nodiscard]] static std::size_t classOf(std::uint64_t size) noexcept;
  [[nodiscard]] static constexpr std::uint64_t capacityOf(std::size_t index) noexcept {
    return kSmallestKept << index;
  }
  /// False if the pool is full.
  [[nodiscard]] bool keep(void* block, std::size_t index) noexcept;

  std::array<Platform::IdlePool<void, std::free>, kClasses> kept_;
  std::atomic<std::uint64_t> keptBytes_{0};
};

}  // namespace Kelbor

#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace Kelbor::Platform {

/// Objects that cost much to make, kept for whoever needs one next; `end` frees one. Nothing waits
/// here, so that a child forked meanwhile can go on: what other threads had taken is lost to it.
///
/// A pool is a constant-initialised static and stays usable while the process ends. Its objects
/// are freed by an Owner behind it, when the library is unloaded or the process exits.
template <class T, void (*end)(T*)>
class IdlePool {
 public:
  struct Owner {
    explicit Owner(IdlePool& ofPool) noexcept : pool(ofPool) {}
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() {
      while (T* object = pool.take()) end(object);
    }
    IdlePool& pool;
  };

  constexpr IdlePool() = default;

  /// An idle object, which is the caller's from now on; null where there is none.
  [[nodiscard]] T* take() noexcept {
    for (auto& slot : slots_) {
      if (!slot.load(std::memory_order_relaxed)) continue;
      if (T* kept = slot.exchange(nullptr, std::memory_order_acquire)) return kept;
    }
    return nullptr;
  }

  /// Keeps the object, or ends it where enough are kept.
  void giveBack(T* object) noexcept {
    if (!keep(object)) end(object);
  }

  /// False where enough are kept; the object stays the caller's.
  [[nodiscard]] bool keep(T* object) noexcept {
    for (auto& slot : slots_) {
      T* empty = nullptr;
      if (slot.compare_exchange_strong(empty, object, std::memory_order_release,
                                       std::memory_order_relaxed)) {
        return true;
      }
    }
    return false;
  }

 private:
  static constexpr std::size_t kMost = 16;

  std::array<std::atomic<T*>, kMost> slots_{};
};

}  // namespace Kelbor::Platform

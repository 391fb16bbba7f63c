#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace Kelbor::Platform {

/// Keeps idle objects that are expensive to make; `end` frees one. Lock-free, so that a forked
/// child can keep using it: objects in use by other threads at the fork are lost to the child.
///
/// A pool is a constant-initialised static and stays usable while the process ends. An Owner,
/// declared after it, frees its objects when the library is unloaded or the process exits.
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

  /// An idle object, which the caller now owns; null if there is none.
  [[nodiscard]] T* take() noexcept {
    for (auto& slot : slots_) {
      if (!slot.load(std::memory_order_relaxed)) continue;
      if (T* kept = slot.exchange(nullptr, std::memory_order_acquire)) return kept;
    }
    return nullptr;
  }

  /// Keeps the object, or ends it if enough are kept.
  void giveBack(T* object) noexcept {
    if (!keep(object)) end(object);
  }

  /// False if enough are kept; the caller then still owns the object.
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

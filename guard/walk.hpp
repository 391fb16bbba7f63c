#pragma once

#include <cstdint>

#include "morvex/morvex_guard.h"

namespace morvex::guard {

/// How far a caller has come who asks for many arrays, and whether it wants to go on.
class Walk {
 public:
  void begin(std::uint64_t total, mxg_progress progress, void* user) noexcept;
  /// True if the walk that ends was cancelled.
  [[nodiscard]] bool end() noexcept;
  /// One more array has been asked for.
  void advance(std::uint64_t bytes) noexcept;
  [[nodiscard]] bool isCancelled() const noexcept { return isCancelled_; }

 private:
  void tell() noexcept;

  mxg_progress progress_ = nullptr;  // null without a walk
  void* user_ = nullptr;             // the caller's
  std::uint64_t done_ = 0;
  std::uint64_t total_ = 0;
  std::uint64_t bytes_ = 0;
  bool isCancelled_ = false;
};

}  // namespace morvex::guard

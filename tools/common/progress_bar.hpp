#pragma once

#include <chrono>
#include <cstdint>

namespace morvex::tools {

/// A line on standard error that is redrawn in place once work takes longer than two seconds; nothing
/// if standard error is no terminal.
class ProgressBar {
 public:
  explicit ProgressBar(bool isQuiet);
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// The part of the work that is done, from 0 to 1, and the bytes delivered so far. Draws a few times
  /// a second.
  void show(double part, std::uint64_t bytes);
  /// Removes the line, so that something else can be written.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  bool isShown_;
  bool isDrawn_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
};

}  // namespace morvex::tools

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace morvex::tools {

/// A line on a terminal that is written over and over; nothing where the stream is none.
class ProgressBar {
 public:
  ProgressBar(std::FILE* stream, std::size_t total);
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// `done` of the total, and the bytes delivered so far. Draws a few times a second.
  void show(std::size_t done, std::uint64_t bytes);
  /// Removes the line, so that something else can be written.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  std::FILE* stream_;
  std::size_t total_;
  bool isTerminal_;
  bool isDrawn_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
};

}  // namespace morvex::tools

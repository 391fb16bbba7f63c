#include "common/progress_bar.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

/// Shorter work needs no bar; it would only flicker.
constexpr auto kPatience = std::chrono::seconds(2);
/// Ten times a second is smooth; more would slow down a remote terminal.
constexpr auto kPause = std::chrono::milliseconds(100);
/// Columns of the bar; rate and time fit beside it in 80.
constexpr std::size_t kWidth = 30;

/// Rounded down, at most 99 hours.
std::string durationText(double seconds) {
  const auto whole = static_cast<long long>(std::min(seconds, 359'999.0));
  if (whole < 60) return std::to_string(whole) + " s";
  if (whole < 3600) return std::to_string(whole / 60) + " min";
  return std::to_string(whole / 3600) + " h " + std::to_string(whole / 60 % 60) + " min";
}

}  // namespace

ProgressBar::ProgressBar(bool isQuiet) : isShown_(!isQuiet && ::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::show(double part, std::uint64_t bytes) {
  const auto now = Clock::now();
  if (!isShown_ || now - start_ < kPatience || now - last_ < kPause) return;
  last_ = now;
  const double done = std::clamp(part, 0.0, 1.0);
  const auto filled = static_cast<std::size_t>(done * kWidth);
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const auto rate = static_cast<std::uint64_t>(static_cast<double>(bytes) / seconds);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  const std::string rest =
      done > 0.0 ? "  " + durationText(seconds * (1.0 - done) / done) + " left" : "";
  // Returns to the first column and erases the line, which may have been longer.
  std::fprintf(stderr, "\r\033[K[%s] %3d%%  %s/s%s", bar.c_str(), static_cast<int>(100 * done),
               sizeText(rate).c_str(), rest.c_str());
  std::fflush(stderr);
  isDrawn_ = true;
}

void ProgressBar::clear() {
  if (!isDrawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  isDrawn_ = false;
}

}  // namespace morvex::tools

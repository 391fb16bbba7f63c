#include "progress_bar.hpp"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "text_table.hpp"

namespace morvex::tools {
namespace {

constexpr auto kPause = std::chrono::milliseconds(100);
constexpr std::size_t kWidth = 30;

}  // namespace

ProgressBar::ProgressBar(std::FILE* stream, std::size_t total)
    : stream_(stream), total_(std::max<std::size_t>(total, 1)), isTerminal_(false) {
  isTerminal_ = ::isatty(::fileno(stream)) == 1;
}

void ProgressBar::show(std::size_t done, std::uint64_t bytes) {
  const auto now = Clock::now();
  if (!isTerminal_ || now - last_ < kPause) return;
  last_ = now;
  const std::size_t filled = kWidth * std::min(done, total_) / total_;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const auto rate = static_cast<std::uint64_t>(static_cast<double>(bytes) / seconds);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::fprintf(stream_, "\r\033[K[%s] %3zu%%  %s  %s/s", bar.c_str(), 100 * done / total_,
               sizeText(bytes).c_str(), sizeText(rate).c_str());
  std::fflush(stream_);
  isDrawn_ = true;
}

void ProgressBar::clear() {
  if (!isDrawn_) return;
  std::fputs("\r\033[K", stream_);
  std::fflush(stream_);
  isDrawn_ = false;
}

}  // namespace morvex::tools

#include "core/log.hpp"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <mutex>
#include <utility>

#include "platform/immortal.hpp"

namespace Kelbor {
namespace {

struct LevelTraits {
  const char* name;
  const char* prefix;
  bool toStandardError;
};

constexpr std::array<LevelTraits, 9> kLevels{{{"DeepTrace", "", false},
                                              {"Trace", "", false},
                                              {"Notice", "NOTICE: ", false},
                                              {"Debug", "DEBUG: ", false},
                                              {"Status", "STATUS: ", false},
                                              {"Warning", "WARNING: ", true},
                                              {"Error", "ERROR: ", true},
                                              {"Fatal", "FATAL: ", true},
                                              {"Silent", "", true}}};

const LevelTraits& traitsOf(LogLevel level) {
  return kLevels.at(static_cast<std::size_t>(level));
}

thread_local constinit LogSink* currentSink = nullptr;

/// Formats a number with std::to_chars, in at most 32 characters.
template <class... Arguments>
class Digits {
 public:
  explicit Digits(Arguments... arguments)
      : end_(std::to_chars(text_.begin(), text_.end(), arguments...).ptr) {}
  [[nodiscard]] std::string_view view() const { return {text_.begin(), end_}; }

 private:
  std::array<char, 32> text_;
  char* end_;
};

}  // namespace

const char* levelName(LogLevel level) {
  return traitsOf(level).name;
}

LogSink* threadLogSink() noexcept {
  return currentSink;
}

ScopedLogSink::ScopedLogSink(LogSink* sink) noexcept : before_(std::exchange(currentSink, sink)) {}

ScopedLogSink::~ScopedLogSink() {
  currentSink = before_;
}

void LogLine::begin() noexcept {
  sink_ = currentSink;
  append(traitsOf(level_).prefix);
}

void LogLine::end() noexcept {
  append("\n");
  flush();
  if (sink_) return;
  logger_->sync(level_);
  logger_->lock_.unlock();
}

void LogLine::append(std::string_view text) noexcept {
  for (;;) {
    const std::size_t count = std::min(text.size(), kRoom - used_);
    std::copy_n(text.data(), count, text_.data() + used_);
    used_ += count;
    text.remove_prefix(count);
    if (text.empty()) return;
    flush();
  }
}

void LogLine::appendSigned(long long number) noexcept {
  append(Digits(number).view());
}

void LogLine::appendUnsigned(unsigned long long number) noexcept {
  append(Digits(number).view());
}

void LogLine::appendReal(double number) noexcept {
  constexpr int kSignificantDigits = 6;
  append(Digits(number, std::chars_format::general, kSignificantDigits).view());
}

void LogLine::flush() noexcept {
  if (sink_) {
    sink_->write(level_, {text_.data(), used_});
    used_ = 0;
    return;
  }
  if (!hasLog_) logger_->lock_.lock();
  hasLog_ = true;
  logger_->write(level_, {text_.data(), used_});
  used_ = 0;
}

void Logger::setLogLevel(LogLevel level, const char* logFilePath) {
  const std::lock_guard guard(lock_);
  logFile_.reset();
  if (logFilePath) logFile_ = std::make_unique<std::ofstream>(logFilePath);
  level_ = level;
}

// Looks up the standard streams' buffers for each line: a host may replace them at any time.
std::streambuf* Logger::sinkOf(LogLevel level) const noexcept {
  if (logFile_) return logFile_->is_open() ? logFile_->rdbuf() : nullptr;
  return traitsOf(level).toStandardError ? std::cerr.rdbuf() : std::cout.rdbuf();
}

void Logger::write(LogLevel level, std::string_view text) noexcept {
  try {
    if (auto* sink = sinkOf(level)) {
      sink->sputn(text.data(), static_cast<std::streamsize>(text.size()));
    }
  } catch (...) {  // a host's buffer may throw; the line is lost, the read continues
  }
}

void Logger::sync(LogLevel level) noexcept {
  try {
    if (auto* sink = sinkOf(level)) sink->pubsync();
  } catch (...) {  // as in write()
  }
}

Logger& getLogger() {
  static Platform::Immortal<Logger> logger;
  return logger.get();
}

}  // namespace Kelbor

#pragma once

#include <array>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <fstream>
#include <memory>
#include <string_view>
#include <type_traits>

#include "platform/critical_section.hpp"

namespace Kelbor {

/// Severity of a log line, ascending. A logger drops all lines below its level.
enum class LogLevel {
  kDeepTrace,
  kTrace,
  kNotice,
  kDebug,
  kStatus,
  kWarning,
  kError,
  kFatal,
  kSilent
};

/// The level's name, for example "Warning".
[[nodiscard]] const char* levelName(LogLevel level);

class Logger;

/// Receives the lines of the threads that select it, instead of the process's log. A line may
/// arrive in pieces; the last piece ends in a line feed. Threads call it concurrently.
class LogSink {
 public:
  virtual void write(LogLevel level, std::string_view piece) noexcept = 0;

 protected:
  ~LogSink() = default;
};

/// The sink of this thread; null for the process's log.
[[nodiscard]] LogSink* threadLogSink() noexcept;

/// Directs this thread's lines to `sink` during its lifetime. The sink is borrowed; null selects
/// the process's log.
class ScopedLogSink {
 public:
  explicit ScopedLogSink(LogSink* sink) noexcept;
  ~ScopedLogSink();
  ScopedLogSink(const ScopedLogSink&) = delete;
  ScopedLogSink& operator=(const ScopedLogSink&) = delete;

 private:
  LogSink* before_;
};

/// Numbers that a log line accepts.
template <class T>
concept LogInteger = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

/// One line of the log, composed in this object and written in one piece by the destructor.
/// Allocates nothing and throws nothing, so that it can report that memory ran out. Follows no
/// locale. A line whose level is off formats nothing.
class LogLine {
 public:
  /// `logger` is borrowed and outlives the line; null if the level is off.
  LogLine(Logger* logger, LogLevel level) noexcept : logger_(logger), level_(level) {
    if (logger_) begin();
  }
  ~LogLine() {
    if (logger_) end();
  }
  LogLine(const LogLine&) = delete;
  LogLine& operator=(const LogLine&) = delete;

  LogLine& operator<<(std::string_view text) noexcept {
    if (logger_) append(text);
    return *this;
  }
  /// Plain decimal digits.
  template <LogInteger T>
  LogLine& operator<<(T number) noexcept {
    if (!logger_) return *this;
    if constexpr (std::is_signed_v<T>) {
      appendSigned(number);
    } else {
      appendUnsigned(number);
    }
    return *this;
  }
  /// Six significant digits, like printf's %g.
  LogLine& operator<<(double number) noexcept {
    if (logger_) appendReal(number);
    return *this;
  }
  /// A text that is expensive to make: `make` runs only if the line is on.
  template <std::invocable F>
  LogLine& operator<<(F&& makeText) {
    if (logger_) append(makeText());
    return *this;
  }

 private:
  static constexpr std::size_t kRoom = 512;

  void begin() noexcept;
  void end() noexcept;
  void append(std::string_view text) noexcept;
  void appendSigned(long long number) noexcept;
  void appendUnsigned(unsigned long long number) noexcept;
  void appendReal(double number) noexcept;
  void flush() noexcept;

  Logger* logger_;
  LogLevel level_;
  LogSink* sink_ = nullptr;
  /// True once a line longer than the buffer has been written in part; it then holds the log's lock
  /// until it ends.
  bool hasLog_ = false;
  std::size_t used_ = 0;
  std::array<char, kRoom> text_;  // not zeroed: most lines are off
};

/// The process-wide message log. Lines of concurrent threads don't mix.
///
///     getLogger().warning() << "text " << 12;
class Logger {
 public:
  /// Each begins a line with the level's prefix; the line ends with the statement.
  [[nodiscard]] LogLine deepTrace() { return begin(LogLevel::kDeepTrace); }
  [[nodiscard]] LogLine trace() { return begin(LogLevel::kTrace); }
  [[nodiscard]] LogLine notice() { return begin(LogLevel::kNotice); }
  [[nodiscard]] LogLine debug() { return begin(LogLevel::kDebug); }
  [[nodiscard]] LogLine status() { return begin(LogLevel::kStatus); }
  [[nodiscard]] LogLine warning() { return begin(LogLevel::kWarning); }
  [[nodiscard]] LogLine error() { return begin(LogLevel::kError); }
  [[nodiscard]] LogLine fatal() { return begin(LogLevel::kFatal); }

  /// Writes all levels from `level` up to the file. Without a path, levels below warning are
  /// written to standard output and the others to standard error. A file that can't be opened
  /// silences them.
  void setLogLevel(LogLevel level, const char* logFilePath = nullptr);
  [[nodiscard]] LogLevel level() const noexcept { return level_.load(std::memory_order_relaxed); }

 private:
  friend class LogLine;

  LogLine begin(LogLevel level) noexcept { return {level < this->level() ? nullptr : this, level}; }
  void write(LogLevel level, std::string_view text) noexcept;
  void sync(LogLevel level) noexcept;
  /// Null if lines of this level are not written.
  [[nodiscard]] std::streambuf* sinkOf(LogLevel level) const noexcept;

  Platform::CriticalSection lock_;
  std::unique_ptr<std::ofstream> logFile_;
  std::atomic<LogLevel> level_{LogLevel::kStatus};
};

/// The process-wide logger, made at the first call and never destroyed: destructors that run at
/// process exit may still log.
Logger& getLogger();

}  // namespace Kelbor

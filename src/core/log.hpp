#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <fstream>
#include <memory>
#include <string_view>
#include <type_traits>

#include "platform/critical_section.hpp"

namespace Kelbor {

/// Severity of a log line, in rising order. A logger set to a level drops everything below it.
enum class LogLevel { deepTrace, trace, notice, debug, status, warning, error, fatal, silent };

/// The level's name, for example "Warning".
[[nodiscard]] const char* levelName(LogLevel level);

class Logger;

/// Numbers that a log line can show.
template <class T>
concept LogInteger = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

/// One line of the log: what is put into it is composed in the line itself, and goes to the log in
/// one piece when the line ends. Needs no memory of its own, throws nothing, and follows no locale.
/// A line of a level that is off formats nothing.
class LogLine {
 public:
  /// `logger` is borrowed and outlives the line; null for a line that is off.
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
  /// Six significant digits, as printf's %g.
  LogLine& operator<<(double number) noexcept {
    if (logger_) appendReal(number);
    return *this;
  }
  /// A text that costs something to make, and is made only where the line is on.
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
  /// A line longer than its room goes out in pieces, and keeps the log for itself meanwhile.
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
  [[nodiscard]] LogLine deepTrace() { return begin(LogLevel::deepTrace); }
  [[nodiscard]] LogLine trace() { return begin(LogLevel::trace); }
  [[nodiscard]] LogLine notice() { return begin(LogLevel::notice); }
  [[nodiscard]] LogLine debug() { return begin(LogLevel::debug); }
  [[nodiscard]] LogLine status() { return begin(LogLevel::status); }
  [[nodiscard]] LogLine warning() { return begin(LogLevel::warning); }
  [[nodiscard]] LogLine error() { return begin(LogLevel::error); }
  [[nodiscard]] LogLine fatal() { return begin(LogLevel::fatal); }

  /// Sends all levels from `level` up to the file, or, without a path, those below warning to
  /// standard output and the rest to standard error. A file that can't be opened silences them.
  /// To be called while no other thread logs.
  void setLogLevel(LogLevel level, const char* logFilePath = nullptr);
  [[nodiscard]] LogLevel level() const noexcept { return level_; }

 private:
  friend class LogLine;

  LogLine begin(LogLevel level) noexcept { return {level < level_ ? nullptr : this, level}; }
  void write(LogLevel level, std::string_view text) noexcept;
  void sync(LogLevel level) noexcept;
  /// Null where lines of the level have nowhere to go.
  [[nodiscard]] std::streambuf* sinkOf(LogLevel level) const noexcept;

  Platform::CriticalSection lock_;
  std::unique_ptr<std::ofstream> logFile_;
  LogLevel level_ = LogLevel::status;
};

/// The one logger, made at the first call and never destroyed, so that it may be used while the
/// process ends.
Logger& getLogger();

}  // namespace Kelbor

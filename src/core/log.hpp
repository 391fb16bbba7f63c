#pragma once

#include <array>
#include <fstream>
#include <memory>
#include <ostream>

#include "platform/null_buffer.hpp"

namespace Kelbor {

/// Severity of a log line, in rising order. A logger set to a level drops everything below it.
enum class LogLevel { deepTrace, trace, notice, debug, status, warning, error, fatal, silent };

/// The level's name, for example "Warning".
[[nodiscard]] const char* levelName(LogLevel level);

/// The process-wide message log: one stream for each level, switched on and off by exchanging its
/// buffer, so that no call site tests a level. Streams follow the classic locale whatever the host
/// has set. Has no lock: lines of concurrent threads may interleave.
///
///     getLogger().warning() << "text" << std::endl;
class Logger {
 public:
  Logger();

  /// Each writes the level's prefix and returns the stream; end the line with std::endl.
  std::ostream& deepTrace() { return begin(LogLevel::deepTrace); }
  std::ostream& trace() { return begin(LogLevel::trace); }
  std::ostream& notice() { return begin(LogLevel::notice); }
  std::ostream& debug() { return begin(LogLevel::debug); }
  std::ostream& status() { return begin(LogLevel::status); }
  std::ostream& warning() { return begin(LogLevel::warning); }
  std::ostream& error() { return begin(LogLevel::error); }
  std::ostream& fatal() { return begin(LogLevel::fatal); }

  /// Sends all levels from `level` up to the file, or, without a path, those below warning to
  /// standard output and the rest to standard error. A file that can't be opened silences them.
  void setLogLevel(LogLevel level, const char* logFilePath = nullptr);
  [[nodiscard]] LogLevel level() const noexcept { return level_; }

 private:
  static constexpr std::size_t kStreamCount = 8;

  std::ostream& begin(LogLevel level);

  std::unique_ptr<std::ofstream> logFile_;
  Platform::NullBuffer nullSink_;
  std::array<std::ostream, kStreamCount> streams_;
  LogLevel level_ = LogLevel::status;
};

/// The one logger, made at the first call and never destroyed, so that it may be used while the
/// process ends.
Logger& getLogger();

}  // namespace Kelbor

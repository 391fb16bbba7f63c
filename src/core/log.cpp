#include "core/log.hpp"

#include <iostream>
#include <locale>

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

std::size_t indexOf(LogLevel level) {
  return static_cast<std::size_t>(level);
}

}  // namespace

const char* levelName(LogLevel level) {
  return kLevels.at(indexOf(level)).name;
}

Logger::Logger()
    : streams_{std::ostream(nullptr), std::ostream(nullptr), std::ostream(nullptr),
               std::ostream(nullptr), std::ostream(nullptr), std::ostream(nullptr),
               std::ostream(nullptr), std::ostream(nullptr)} {
  for (std::ostream& stream : streams_) stream.imbue(std::locale::classic());
  setLogLevel(LogLevel::status);
}

void Logger::setLogLevel(LogLevel level, const char* logFilePath) {
  for (std::ostream& stream : streams_) stream.rdbuf(nullptr);
  logFile_.reset();
  if (logFilePath) logFile_ = std::make_unique<std::ofstream>(logFilePath);
  level_ = level;
  for (std::size_t k = 0; k < kStreamCount; ++k) {
    std::streambuf* buffer = kLevels[k].toStandardError ? std::cerr.rdbuf() : std::cout.rdbuf();
    if (logFile_) buffer = logFile_->is_open() ? logFile_->rdbuf() : nullptr;
    if (indexOf(level) > k) buffer = &nullSink_;
    streams_[k].rdbuf(buffer);  // also resets the state: bad where there is no buffer
  }
}

std::ostream& Logger::begin(LogLevel level) {
  std::ostream& stream = streams_[indexOf(level)];
  return stream << kLevels[indexOf(level)].prefix;
}

Logger& getLogger() {
  static Logger& logger = *new Logger;
  return logger;
}

}  // namespace Kelbor

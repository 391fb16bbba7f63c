#pragma once

#include <iostream>
#include <sstream>
#include <string>

#include "core/log.hpp"

namespace morvex {

/// Collects what the log lets through from `level` up, for as long as it lives.
class LogCapture {
 public:
  explicit LogCapture(Kelbor::LogLevel level) {
    standardOutput_ = std::cout.rdbuf(lines_.rdbuf());
    standardError_ = std::cerr.rdbuf(lines_.rdbuf());
    Kelbor::getLogger().setLogLevel(level);
  }
  ~LogCapture() {
    std::cout.rdbuf(standardOutput_);
    std::cerr.rdbuf(standardError_);
    Kelbor::getLogger().setLogLevel(Kelbor::LogLevel::status);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::string lines() const { return lines_.str(); }

 private:
  std::ostringstream lines_;
  std::streambuf* standardOutput_;
  std::streambuf* standardError_;
};

}  // namespace morvex

#pragma once

#include <iostream>
#include <sstream>
#include <string>

#include "core/log.hpp"

namespace Kelbor {

/// Directs the log from `level` up to `target` during its lifetime; drops the lines if there is no
/// target.
class LogRedirect {
 public:
  LogRedirect(std::streambuf* target, LogLevel level)
      : output_(std::cout.rdbuf(target)), error_(std::cerr.rdbuf(target)) {
    getLogger().setLogLevel(level);
  }
  ~LogRedirect() {
    std::cout.rdbuf(output_);
    std::cerr.rdbuf(error_);
    getLogger().setLogLevel(LogLevel::kStatus);
  }
  LogRedirect(const LogRedirect&) = delete;
  LogRedirect& operator=(const LogRedirect&) = delete;

 private:
  std::streambuf* output_;
  std::streambuf* error_;
};

/// Collects the log's lines.
class LogCapture {
 public:
  explicit LogCapture(LogLevel level = LogLevel::kWarning) : redirect_(text_.rdbuf(), level) {}
  [[nodiscard]] std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  LogRedirect redirect_;
};

}  // namespace Kelbor

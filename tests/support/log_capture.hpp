#pragma once

#include <iostream>
#include <sstream>
#include <string>

#include "core/log.hpp"

namespace Kelbor {

/// Collects what the log lets through from `level` up, for as long as it lives.
class LogCapture {
 public:
  explicit LogCapture(LogLevel level = LogLevel::warning)
      : output_(std::cout.rdbuf(text_.rdbuf())), error_(std::cerr.rdbuf(text_.rdbuf())) {
    getLogger().setLogLevel(level);
  }
  ~LogCapture() {
    std::cout.rdbuf(output_);
    std::cerr.rdbuf(error_);
    getLogger().setLogLevel(LogLevel::status);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  std::streambuf* output_;
  std::streambuf* error_;
};

/// Lets the log go nowhere, at whatever level a session sets it, for as long as it lives.
class LogDiscard {
 public:
  LogDiscard() : output_(std::cout.rdbuf(nullptr)), error_(std::cerr.rdbuf(nullptr)) {
    getLogger().setLogLevel(LogLevel::silent);
  }
  ~LogDiscard() {
    std::cout.rdbuf(output_);
    std::cerr.rdbuf(error_);
    getLogger().setLogLevel(LogLevel::status);
  }
  LogDiscard(const LogDiscard&) = delete;
  LogDiscard& operator=(const LogDiscard&) = delete;

 private:
  std::streambuf* output_;
  std::streambuf* error_;
};

}  // namespace Kelbor

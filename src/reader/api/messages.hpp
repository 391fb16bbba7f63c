#pragma once

#include <string>

#include "core/log.hpp"
#include "morvex/morvex.h"

namespace morvex::Api {

/// Receives a file's messages: the caller's function, or nothing.
struct MessageTarget {
  morvex_message message = nullptr;
  void* user = nullptr;
};

/// Receives the log lines of a call on its thread and team, passes them on, and keeps the first
/// error line. That line has the reason of failures whose exception only reports that there was
/// one.
class CallMessages final : public Kelbor::LogSink {
 public:
  explicit CallMessages(const MessageTarget& target) : target_(target), lines_(this) {}

  void write(Kelbor::LogLevel level, std::string_view piece) noexcept override;

  /// Without prefix and place; empty if there was none.
  [[nodiscard]] std::string firstError() const;

 private:
  MessageTarget target_;
  Kelbor::Platform::CriticalSection lock_;
  /// The pieces of an unfinished line. Lines of one thread don't mix. Pieces from several threads
  /// may, which garbles a message.
  std::string line_;
  std::string firstError_;
  Kelbor::ScopedLogSink lines_;
};

}  // namespace morvex::Api

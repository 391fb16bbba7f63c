#pragma once

#include <cstdio>
#include <string>

namespace morvex::tools {

/// Keeps data apart from messages. The library writes its messages to the process's standard output
/// and standard error. While an object lives, both lead to the message log, or to standard error
/// where no log is named; the real standard output is reached through data() alone.
/// One object for each process.
class OutputStreams {
 public:
  /// `logFile` may be empty. Throws std::runtime_error if the log can't be written.
  explicit OutputStreams(const std::string& logFile);
  ~OutputStreams();
  OutputStreams(const OutputStreams&) = delete;
  OutputStreams& operator=(const OutputStreams&) = delete;

  /// The standard output that the program was started with.
  [[nodiscard]] std::FILE* data() const noexcept { return data_; }
  /// The standard error that the program was started with, for its own messages.
  [[nodiscard]] std::FILE* messages() const noexcept { return messages_; }

  /// Brings all data out. False if any of it was lost, for example on a full disk.
  [[nodiscard]] bool finish();

 private:
  std::FILE* data_ = nullptr;
  std::FILE* messages_ = nullptr;
};

/// Writes a text as it is; a failure is found by OutputStreams::finish.
void put(std::FILE* stream, const std::string& text);

}  // namespace morvex::tools

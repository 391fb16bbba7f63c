#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

namespace morvex {

/// The optional record of the calls of each session, in a file that the environment variable
/// MORVEX_WORKFLOW_LOG names. While switched off a call costs one test.
class WorkflowLog {
 public:
  /// Switched on where `path` is not null; a path of 256 bytes or more is refused with a WARNING.
  explicit WorkflowLog(const char* path);

  /// Starts a new log over the file and writes the header. A file that can't be made switches the
  /// log off, with an ERROR.
  void begin(const char* inputFile);
  /// Writes the footer and closes the file.
  void end();

  /// Writes a text as it stands, if a log is open.
  void write(const char* text) {
    if (enabled_ && file_) std::fputs(text, file_.get());
  }
  /// Writes a line of printf's format, if a log is open.
  template <class... Arguments>
  void write(const char* format, Arguments... arguments) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the format of the log is printf's
    if (enabled_ && file_) std::fprintf(file_.get(), format, arguments...);
  }

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };

  static constexpr std::size_t kLongestPath = 255;

  bool enabled_ = false;
  std::array<char, kLongestPath + 1> path_{};
  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace morvex

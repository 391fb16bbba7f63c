#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

namespace morvex {

/// The optional record of each session's calls, in the file named by the environment variable
/// MORVEX_WORKFLOW_LOG. Without it, a call costs one test.
class WorkflowLog {
 public:
  /// Switched on if `path` is not null. A path of 256 bytes or more is refused with a WARNING.
  explicit WorkflowLog(const char* path);

  /// Truncates the file and writes the header. If the file can't be created, switches the log off
  /// with an ERROR.
  void begin(const char* inputFile);
  /// Writes the footer and closes the file.
  void end();

  /// Writes the text literally if the log is open.
  void write(const char* text) {
    if (enabled_ && file_) std::fputs(text, file_.get());
  }
  /// Writes in printf's format if the log is open.
  template <class... Arguments>
  void write(const char* format, Arguments... arguments) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the log's format is printf's
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

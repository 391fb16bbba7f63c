#pragma once

#include <stdexcept>
#include <string>

namespace morvex::tools {

/// Exit codes of the programs; documented in the README and in their help.
enum ExitCode : int {
  kSuccess = 0,
  kFindings = 1,      ///< what a check looks for: unreadable arrays, differences
  kUsageError = 2,    ///< unknown option, missing argument, a name or number that is not there
  kCannotOpen = 3,    ///< no result file, or one that needs a newer reader
  kOutputFailed = 4,  ///< output can't be written, memory ran out
  kDataError = 5,     ///< the file opens, but data that was asked for can't be read
};

/// Ends the program with a code and one line of text.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}
  [[nodiscard]] ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

}  // namespace morvex::tools

#pragma once

namespace morvex::tools {

/// What the programs end with; documented in the README and in their help.
enum ExitCode : int {
  kAllWell = 0,
  kDataFailed = 1,    ///< the file opens, but not all of it can be read, or it differs
  kUsageError = 2,    ///< unknown option, missing argument, a number out of range
  kCannotOpen = 3,    ///< no result file, or one that a newer reader is needed for
  kOutputFailed = 4,  ///< output or message log can't be written, memory ran out
};

}  // namespace morvex::tools

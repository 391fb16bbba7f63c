#include "common/contents.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/exit_codes.hpp"

namespace morvex::tools {
namespace {

/// Appends a line to the log. Threads of the library may do so at any time.
void logMessage(void* log, morvex_level level, const char* text) {
  const std::string line =
      std::string(level == MORVEX_ERROR ? "ERROR: " : "WARNING: ") + text + "\n";
  std::fwrite(line.data(), 1, line.size(), static_cast<std::FILE*>(log));
}

/// Stays open as long as the program runs; null without a log.
std::FILE* logFile = nullptr;
std::string logPath;

/// One log for all files of a program: they would overwrite each other's.
std::FILE* openLog(const std::string& path) {
  if (logFile) return logFile;
  logFile = std::fopen(path.c_str(), "we");
  if (!logFile) throw Failure(kOutputFailed, path + ": " + std::strerror(errno));
  // Line by line, so that a crash loses nothing that was logged.
  std::setvbuf(logFile, nullptr, _IOLBF, BUFSIZ);
  logPath = path;
  return logFile;
}

}  // namespace

File openFile(const std::string& path, const OpenOptions& options) {
  morvex_open_options chosen = MORVEX_OPEN_OPTIONS_INIT;
  chosen.threads = options.threads;
  if (!options.logFile.empty()) {
    chosen.message = logMessage;
    chosen.user = openLog(options.logFile);
  }
  try {
    return File(path, chosen);
  } catch (const Error& failure) {
    throw Failure(failure.code() == MORVEX_OUT_OF_MEMORY ? kOutputFailed : kCannotOpen,
                  path + ": " + failure.what());
  }
}

void finishLog() {
  // Failed writes leave a mark and no reason; a full disk is by far the most frequent one.
  if (logFile && (std::fflush(logFile) != 0 || std::ferror(logFile) != 0)) {
    throw Failure(kOutputFailed, logPath + ": not all messages could be written");
  }
}

Contents readContents(const File& file) {
  Contents contents;
  contents.summary = file.summary();
  for (int set = 0; set < static_cast<int>(contents.summary.timesets); ++set) {
    contents.timesets.push_back(file.times(set));
  }
  for (int i = 0; i < static_cast<int>(contents.summary.variables); ++i) {
    try {
      contents.variables.push_back(file.variable(i));
    } catch (const Error& failure) {
      // Its place is kept: variables are asked for by their numbers.
      contents.variables.push_back(MORVEX_VARIABLE_INIT);
      contents.variables.back().name = "";
      contents.variables.back().description = "";
      contents.problems.push_back("variable " + std::to_string(i) + ": " + failure.what());
    }
  }
  return contents;
}

std::vector<morvex_part> readParts(const File& file, int step) {
  std::vector<morvex_part> parts;
  const int count = file.partCount(step);
  for (int i = 0; i < count; ++i) parts.push_back(file.part(i, step));
  return parts;
}

const std::vector<morvex_part>& PartList::at(int step) {
  const int state = stateAt(model_, step);
  if (state_ != state) {
    state_.reset();  // stays so if the question fails
    parts_ = readParts(file_, state);
    state_ = state;
  }
  return parts_;
}

}  // namespace morvex::tools

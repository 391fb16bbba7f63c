#pragma once

#include <morvex/morvex.hpp>
#include <optional>
#include <string>
#include <vector>

namespace morvex::tools {

/// How a program opens its files.
struct OpenOptions {
  int threads = 0;      ///< 0 for as many as processors
  std::string logFile;  ///< takes the library's messages; they are dropped if it is empty
};

/// Options that all commands have.
struct Common {
  OpenOptions open;
  bool isQuiet = false;  ///< no progress, and no text that only confirms a success

  /// Whether the program may use threads of its own beside the library's.
  [[nodiscard]] bool isConcurrent() const noexcept { return open.threads != 1; }
};

/// Opens a file. Failure kCannotOpen with the reason, kOutputFailed if the log can't be written.
[[nodiscard]] File openFile(const std::string& path, const OpenOptions& options);

/// To be called at the end of a program. Failure kOutputFailed if messages were lost.
void finishLog();

/// What the library answers without decoding an array. Texts belong to the file.
struct Contents {
  morvex_summary summary = MORVEX_SUMMARY_INIT;
  std::vector<std::vector<float>> timesets;  ///< the times of each set
  /// A variable that can't be described has no name and no steps.
  std::vector<morvex_variable> variables;
  std::vector<std::string> problems;  ///< questions that failed, with the reasons
};

[[nodiscard]] Contents readContents(const File& file);

/// The parts of the model at a step. Error.
[[nodiscard]] std::vector<morvex_part> readParts(const File& file, int step);

/// The step that has the sizes of a geometry at a step.
[[nodiscard]] inline int stateAt(const morvex_geometry& geometry, int step) {
  return geometry.change == MORVEX_CONNECTIVITY_CHANGES ? step : 0;
}

/// The parts of the model, asked for step by step. A file may have thousands of parts and steps: those
/// of one state are kept.
class PartList {
 public:
  /// Both are borrowed.
  PartList(const File& file, const morvex_geometry& model) : file_(file), model_(model) {}

  /// All parts at a step, valid until the next call. Error; the next call asks again.
  const std::vector<morvex_part>& at(int step);

 private:
  const File& file_;
  const morvex_geometry& model_;
  std::optional<int> state_;  ///< of the parts that are kept
  std::vector<morvex_part> parts_;
};

}  // namespace morvex::tools

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/contents.hpp"

namespace morvex::tools {

/// What a user asks for, as typed. Empty fields ask for everything.
struct Selection {
  std::vector<std::string> parts;      ///< names, numbers or patterns with * ? [ ]
  std::vector<std::string> variables;  ///< the same
  std::vector<std::string> arrays;     ///< paths, patterns of paths, or kinds such as coordinates
  std::string steps;                   ///< for example "0", "-1", "3:10:2", "0,5,-1"
  std::optional<double> time;          ///< the step that is nearest to it
};

/// Positions in `count` steps, in rising order and each once. Numbers below 0 count from the end;
/// ranges `first:end:stride` leave out their end, and any of the three may be missing. Positions that
/// are not there are left out. Failure kUsageError for what is none of these.
[[nodiscard]] std::vector<int> stepsOf(std::string_view text, int count);

/// Whether a text is the name, or a pattern of it with * ? [ ], which match slashes as well.
[[nodiscard]] bool fitsName(const std::string& text, std::string_view name);

/// Whether `name` or its number fits the text: the same name, the number, or a pattern.
[[nodiscard]] bool fits(const std::string& text, std::string_view name, int number);

/// The names that are most like a text, best first; empty if none is similar.
[[nodiscard]] std::vector<std::string> similarNames(std::string_view text,
                                                    const std::vector<std::string>& names);
/// "" or "; is it NAME or NAME?", for the end of a message.
[[nodiscard]] std::string suggestion(std::string_view text, const std::vector<std::string>& names);

/// A selection on a file.
class Choice {
 public:
  /// All are borrowed. Failure kUsageError for parts, variables and steps that the file doesn't have.
  Choice(const Selection& selection, const File& file, const Contents& contents);

  /// Whether the user named parts; then what belongs to no part is not asked for.
  [[nodiscard]] bool namesParts() const noexcept { return !selection_.parts.empty(); }
  [[nodiscard]] bool namesSteps() const noexcept {
    return !selection_.steps.empty() || selection_.time;
  }
  [[nodiscard]] bool namesVariables() const noexcept { return !selection_.variables.empty(); }
  /// Empty for all.
  [[nodiscard]] const std::vector<std::string>& arrays() const noexcept {
    return selection_.arrays;
  }
  [[nodiscard]] bool hasPart(int number, std::string_view name) const;
  [[nodiscard]] bool hasVariable(int number) const;
  /// Of something with `count` steps in a time set. What does not change has step 0, whatever steps
  /// are asked for.
  [[nodiscard]] std::vector<int> steps(int timeset, std::uint64_t count) const;
  /// The one step of the model that is asked for, else the first. Failure kUsageError for several.
  [[nodiscard]] int modelStep() const;
  [[nodiscard]] int firstModelStep() const;

 private:
  void checkParts(const File& file) const;
  void checkVariables() const;
  void checkSteps() const;

  const Selection& selection_;
  const Contents& contents_;
};

}  // namespace morvex::tools

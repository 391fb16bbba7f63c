#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "common/contents.hpp"
#include "common/exit_codes.hpp"
#include "common/selection.hpp"

namespace morvex::tools {

/// A command of the program: its options, and what runs once they are parsed.
struct Command {
  CLI::App* app = nullptr;
  std::function<ExitCode()> run;
};

// Options of the same meaning have the same name and description in every command.
/// The targets are borrowed: they must live until the command has run.
void addFile(CLI::App& app, std::string& file);
void addFiles(CLI::App& app, std::vector<std::string>& files);
/// Parts, variables, steps and time; includes addSteps().
void addSelection(CLI::App& app, Selection& selection);
/// For commands that read or list arrays.
void addArrays(CLI::App& app, Selection& selection);
void addSteps(CLI::App& app, Selection& selection);
void addJson(CLI::App& app, bool& asJson);
/// A count from `least` on.
void addCount(CLI::App& app, const std::string& name, int& value, int least,
              const std::string& description);
/// One of a few words.
void addKeyword(CLI::App& app, const std::string& name, std::string& value,
                const std::vector<std::string>& words, const std::string& description);

/// Runs a command's work on each of several files. A file that fails does not keep the others from
/// their turn: its reason is written, and the highest code is returned.
[[nodiscard]] ExitCode forEachFile(const std::vector<std::string>& files,
                                   const std::function<ExitCode(const std::string&)>& work);

// The commands; each function adds one to the program. `common` is borrowed.
[[nodiscard]] Command addInfo(CLI::App& program, const Common& common);
[[nodiscard]] Command addList(CLI::App& program, const Common& common);
[[nodiscard]] Command addStat(CLI::App& program, const Common& common);
[[nodiscard]] Command addCat(CLI::App& program, const Common& common);
[[nodiscard]] Command addDigest(CLI::App& program, const Common& common);
[[nodiscard]] Command addDiff(CLI::App& program, const Common& common);
[[nodiscard]] Command addExplain(CLI::App& program, const Common& common);
[[nodiscard]] Command addVerify(CLI::App& program, const Common& common);
[[nodiscard]] Command addSample(CLI::App& program, const Common& common);
[[nodiscard]] Command addDump(CLI::App& program, const Common& common);
[[nodiscard]] Command addExport(CLI::App& program, const Common& common);
[[nodiscard]] Command addThumb(CLI::App& program, const Common& common);

}  // namespace morvex::tools

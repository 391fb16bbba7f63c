#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string_view>

#include "common/exit_codes.hpp"

namespace morvex::tools {

/// Runs a program's work. Whatever leaves it becomes one line on standard error and an exit code; so
/// do usage errors and lost output. Ctrl-C ends the program by its signal, after `work` has cleaned
/// up.
[[nodiscard]] int runProgram(std::string_view name, const std::function<ExitCode()>& work);

/// What is wrong with the arguments, in one line.
[[nodiscard]] std::string usageText(const CLI::App& app, const CLI::ParseError& failure);

}  // namespace morvex::tools

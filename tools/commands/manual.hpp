#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace morvex::tools {

/// Writes the manual of a program into a folder, which exists: `NAME.1` for the program,
/// `NAME-COMMAND.1` for each command, `NAME.bash` with the completion. Failure kOutputFailed.
void writeManual(const CLI::App& program, const std::string& folder);

}  // namespace morvex::tools

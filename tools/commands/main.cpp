// The program `morvex`: what is in result files, and whether all of it can be read.

#include <array>
#include <memory>
#include <sstream>

#include "commands/command.hpp"
#include "commands/manual.hpp"
#include "common/batch_reader.hpp"
#include "common/output.hpp"
#include "common/program.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

/// In the order of the help.
constexpr std::array kCommands{addInfo,   addList,    addStat, addCat,    addDigest, addDiff,
                               addVerify, addExplain, addDump, addExport, addThumb,  addSample};

/// The parser has no long options with a single dash: it gets -lf under its other name.
std::vector<std::string> parserArguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int k = argc - 1; k > 0; --k) {  // it expects them in reverse order
    std::string argument = argv[k];
    if (argument == "-lf") argument = "--log-file";
    if (argument.starts_with("-lf=")) argument.replace(0, 3, "--log-file");
    arguments.push_back(std::move(argument));
  }
  return arguments;
}

/// Help that fits 80 columns: the parser's own formatter breaks no lines.
class HelpFormatter final : public CLI::Formatter {
 public:
  [[nodiscard]] std::string make_option_desc(const CLI::Option* option) const override {
    return fitted(option->get_description());
  }
  /// Arguments have no type: their names and the usage line say enough.
  [[nodiscard]] std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_positional() ? "" : CLI::Formatter::make_option_opts(option);
  }
  [[nodiscard]] std::string make_subcommand(const CLI::App* command) const override {
    std::stringstream text;
    CLI::detail::format_help(text, command->get_name(), fitted(command->get_description()),
                             get_column_width());
    return text.str();
  }

 private:
  /// The parser indents the lines after the first.
  [[nodiscard]] std::string fitted(const std::string& description) const {
    constexpr std::size_t kColumns = 80;
    return wrapped(description, kColumns - get_column_width(), 0);
  }
};

ExitCode run(int argc, char** argv) {
  Common common;
  CLI::App app("Shows, compares, checks and exports compressed finite-element result files.",
               "morvex");
  app.formatter(std::make_shared<HelpFormatter>());  // before the commands, which inherit it
  app.get_formatter()->column_width(28);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.set_version_flag("--version", std::string("morvex ") + morvex_version());
  // A missing command is reported below, in one line.
  app.require_subcommand(0, 1);
  app.add_option("--log-file", common.open.logFile,
                 "also -lf: the library's messages go to this file; else they are dropped")
      ->type_name("LOGFILENAME");
  addCount(app, "--threads", common.open.threads, 1, "threads to decode with");
  app.add_flag("-q,--quiet", common.isQuiet, "no progress, no summaries: findings and data alone");
  app.footer(
      "Data goes to standard output, messages to standard error.\n"
      "Exit codes: 0 success; 1 findings or differences; 2 usage;\n"
      "3 a file can't be opened; 4 output can't be written, memory ran out;\n"
      "5 data that was asked for can't be read.");
  std::string manual;
  app.add_option("--write-manual", manual)->group("");  // for the build; no part of the help
  std::vector<Command> commands;
  for (const auto add : kCommands) {
    commands.push_back(add(app, common));
    commands.back().app->fallthrough()->group("Commands");
  }
  try {
    app.parse(parserArguments(argc, argv));
  } catch (const CLI::CallForHelp&) {
    put(app.help());
    return kSuccess;
  } catch (const CLI::CallForVersion& version) {
    put(version.what() + std::string("\n"));
    return kSuccess;
  } catch (const CLI::ParseError& failure) {
    throw Failure(kUsageError, usageText(app, failure));
  }
  catchInterrupts();
  for (const Command& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  if (manual.empty()) throw Failure(kUsageError, "a command is missing; --help lists them");
  writeManual(app, manual);
  return kSuccess;
}

}  // namespace
}  // namespace morvex::tools

int main(int argc, char** argv) {
  return morvex::tools::runProgram("morvex", [&] { return morvex::tools::run(argc, argv); });
}

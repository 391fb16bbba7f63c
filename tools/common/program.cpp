#include "common/program.hpp"

#include <csignal>
#include <new>

#include "common/batch_reader.hpp"
#include "common/output.hpp"
#include "common/selection.hpp"

namespace morvex::tools {

int runProgram(std::string_view name, const std::function<ExitCode()>& work) {
  keepStandardStreams();
  const auto fail = [&](ExitCode code, std::string_view text) {
    complain(name, text);
    return code;
  };
  try {
    const ExitCode code = work();
    finishOutput();
    finishLog();
    return code;
  } catch (const Failure& failure) {
    // What was written so far belongs to the user, unless writing is what failed.
    if (failure.code() != kOutputFailed) std::fflush(stdout);
    return fail(failure.code(), failure.what());
  } catch (const Error& failure) {
    return fail(failure.code() == MORVEX_OUT_OF_MEMORY ? kOutputFailed : kDataError,
                failure.what());
  } catch (const std::bad_alloc&) {
    return fail(kOutputFailed, "not enough memory");
  } catch (const std::exception& failure) {
    return fail(kDataError, failure.what());
  } catch (const Interrupted&) {
    std::fflush(stdout);
    // Ends by the signal itself, so that a calling shell script stops too.
    ::signal(SIGINT, SIG_DFL);
    ::raise(SIGINT);
    return kOutputFailed;
  }
}

std::string usageText(const CLI::App& app, const CLI::ParseError& failure) {
  const CLI::App* command = &app;
  std::vector<std::string> names;
  for (const CLI::App* sub : app.get_subcommands({})) {
    names.push_back(sub->get_name());
    if (sub->parsed()) command = sub;
  }
  // The parser's own sentences don't name similar options or commands.
  const std::vector<std::string> extras = app.remaining(/*recurse=*/true);
  if (command == &app && !names.empty()) {
    if (extras.empty()) return failure.what();
    if (extras.front().starts_with('-'))
      return "a command must come before '" + extras.front() + "'";
    return "there is no command '" + extras.front() + "'" + suggestion(extras.front(), names);
  }
  if (extras.empty()) return failure.what();
  if (!extras.front().starts_with('-')) return "'" + extras.front() + "' is too much";
  std::vector<std::string> options;
  for (const CLI::Option* option : command->get_options()) {
    for (const std::string& name : option->get_lnames()) options.push_back("--" + name);
  }
  return "there is no option '" + extras.front() + "'" + suggestion(extras.front(), options);
}

}  // namespace morvex::tools

#include "commands/command.hpp"

#include <algorithm>
#include <limits>
#include <new>

#include "common/output.hpp"

namespace morvex::tools {
namespace {

/// Refuses what is no whole number from `least` to `most`, in one sentence.
CLI::Validator wholeNumber(long long least, long long most) {
  CLI::Validator validator("");
  return validator.operation([least, most](std::string& text) {
    long long number = 0;
    // The parser's own range check prints its limits as floating-point numbers.
    const bool isNumber = CLI::detail::lexical_cast(text, number);
    if (isNumber && number >= least && number <= most) return std::string();
    return "'" + text + "' is no whole number from " + std::to_string(least) + " to " +
           std::to_string(most);
  });
}

}  // namespace

void addFile(CLI::App& app, std::string& file) {
  app.add_option("FILE", file, "result file")->required();
}

void addFiles(CLI::App& app, std::vector<std::string>& files) {
  app.add_option("FILE", files, "result files")->required();
}

void addSteps(CLI::App& app, Selection& selection) {
  app.add_option("--step", selection.steps,
                 "steps from 0, from the end with -1, lists 0,5, ranges 3:10:2 without their end")
      ->type_name("STEPS");
  // The parser's own message about a wrong number reads like a fault of the program.
  const CLI::Validator number(
      [](std::string& text) {
        double value = 0.0;
        return CLI::detail::lexical_cast(text, value) ? std::string()
                                                      : "'" + text + "' is no number";
      },
      "");
  app.add_option("--time", selection.time, "the steps that are nearest to a time")
      ->check(number)
      ->type_name("TIME");
}

void addSelection(CLI::App& app, Selection& selection) {
  // One value for each option, so that file names may follow.
  app.add_option("--part", selection.parts, "a part's name, number or pattern; may be repeated")
      ->type_name("PART")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--variable", selection.variables,
                 "a variable's name, number or pattern; may be repeated")
      ->type_name("VARIABLE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  addSteps(app, selection);
}

void addArrays(CLI::App& app, Selection& selection) {
  app.add_option(
         "--array", selection.arrays,
         "a path as shown by list, a pattern, or a kind such as coordinates or connectivity;"
         " may be repeated")
      ->type_name("ARRAY")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void addJson(CLI::App& app, bool& asJson) {
  app.add_flag("--json", asJson, "one JSON object for each file instead of tables");
}

void addCount(CLI::App& app, const std::string& name, int& value, int least,
              const std::string& description) {
  app.add_option(name, value, description)
      ->check(wholeNumber(least, std::numeric_limits<int>::max()))
      ->type_name("N");
}

void addKeyword(CLI::App& app, const std::string& name, std::string& value,
                const std::vector<std::string>& words, const std::string& description) {
  // Help and man pages then list the words first.
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
  // The parser's own check reports such lists in braces.
  CLI::Validator known("");
  known.operation([words, list](const std::string& text) {
    return std::ranges::find(words, text) != words.end() ? std::string()
                                                         : "'" + text + "' is none of " + list;
  });
  app.add_option(name, value, list + ": " + description)->check(known)->type_name("WORD");
}

ExitCode forEachFile(const std::vector<std::string>& files,
                     const std::function<ExitCode(const std::string&)>& work) {
  ExitCode worst = kSuccess;
  for (const std::string& file : files) {
    ExitCode code = kSuccess;
    try {
      code = work(file);
    } catch (const Failure& failure) {
      // Lost output is lost for the other files as well. A single file: the program reports the
      // failure when it ends.
      if (files.size() == 1 || failure.code() == kOutputFailed) throw;
      complain("morvex", failure.what());
      code = failure.code();
    }
    // The highest code wins: a file that can't be opened hides findings in another.
    worst = std::max(worst, code);
  }
  return worst;
}

}  // namespace morvex::tools

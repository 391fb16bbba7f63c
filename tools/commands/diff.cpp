// `morvex diff`: compares two files.

#include "commands/diff.hpp"

#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a key changes its meaning or goes.
constexpr int kSchema = 1;

/// As typed. Both tolerances are 0 unless they are given: then only equal numbers are equal.
struct DiffOptions {
  std::string a;
  std::string b;
  Selection selection;
  Tolerance tolerance;
  bool asJson = false;
};

/// A heading with a line for each item and an empty line; nothing without items.
std::string lines(const char* heading, const std::vector<std::string>& items) {
  if (items.empty()) return "";
  std::string text = std::string(heading) + "\n";
  for (const std::string& item : items) text += "  " + item + "\n";
  return text + "\n";
}

/// Paths are kept as stored for JSON, and made fit for a terminal here.
std::vector<std::string> shown(std::vector<std::string> paths) {
  for (std::string& path : paths) path = shownText(std::move(path));
  return paths;
}

/// For example "1 array" or "3 arrays".
std::string countText(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The outcome in one sentence, for the end of tables that may be long.
std::string verdict(const Comparison& comparison) {
  std::string text;
  if (comparison.hasDifferences()) {
    text = comparison.differingArrays == 0
               ? "The values of " + countText(comparison.arrays, "array") + " are equal"
               : std::to_string(comparison.differingArrays) + " of " +
                     countText(comparison.arrays, "array") + " differ";
    if (!comparison.structure.empty()) {
      text += "; " + countText(comparison.structure.size(), "difference") + " of structure";
    }
    const std::size_t only = comparison.onlyA.size() + comparison.onlyB.size();
    if (only != 0) text += "; " + std::to_string(only) + " in one file only";
    if (comparison.otherSizes != 0) {
      text += "; " + countText(comparison.otherSizes, "array") + " of other sizes not compared";
    }
  } else {
    text = "No differences in " + countText(comparison.arrays, "array");
  }
  if (!comparison.problems.empty()) text += "; not all could be read";
  return text + ".";
}

/// Four digits are enough to judge by; the values themselves are exact.
std::string largestText(double difference) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.4g", difference);
  return text.data();
}

std::string comparisonText(const Comparison& comparison, std::size_t width) {
  std::string text = lines("Structure (A and B)", comparison.structure);
  text += lines("Only in A", shown(comparison.onlyA));
  text += lines("Only in B", shown(comparison.onlyB));
  TextTable table({"what", ">step", "part", ">differ", ">largest", ">index", ">A", ">B"});
  for (const Difference& row : comparison.differences) {
    // With the number, as names may repeat.
    const std::string part =
        row.part < 0 ? "-" : std::to_string(row.part) + " " + shownText(row.partName);
    table.row({shownText(row.what), std::to_string(row.step), part, std::to_string(row.differing),
               largestText(row.largest), row.place.substr(row.place.find(' ') + 1),
               numberText(static_cast<float>(row.a)), numberText(static_cast<float>(row.b))});
  }
  if (!table.empty()) text += "Values\n" + table.text(width) + "\n";
  return text + wrapped(verdict(comparison), width, 0) + "\n";
}

std::string comparisonJson(const DiffOptions& options, const Comparison& comparison) {
  Json object{{"schema", kSchema},
              {"a", options.a},
              {"b", options.b},
              {"relative", options.tolerance.relative},
              {"absolute", options.tolerance.absolute},
              {"equal", !comparison.hasDifferences() && comparison.problems.empty()},
              {"arrays", comparison.arrays},
              {"differingArrays", comparison.differingArrays},
              {"otherSizes", comparison.otherSizes},
              {"structure", comparison.structure},
              {"onlyA", comparison.onlyA},
              {"onlyB", comparison.onlyB},
              {"differences", Json::array()},
              {"problems", comparison.problems}};
  for (const Difference& row : comparison.differences) {
    object["differences"].push_back({{"what", row.what},
                                     {"step", row.step},
                                     {"part", row.part < 0 ? Json(nullptr) : Json(row.part)},
                                     {"values", row.values},
                                     {"differing", row.differing},
                                     {"largest", row.largest},  // null where infinite
                                     {"path", row.path},
                                     {"index", row.index},
                                     {"place", row.place},
                                     {"valueA", row.a},
                                     {"valueB", row.b}});
  }
  return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

/// Each file has its own choice: the same name may have another number in the other file.
ExitCode diffFiles(const DiffOptions& options, const Common& common) {
  const File fileA = openFile(options.a, common.open);
  const File fileB = openFile(options.b, common.open);
  const Contents contentsA = readContents(fileA);
  const Contents contentsB = readContents(fileB);
  const Choice choiceA(options.selection, fileA, contentsA);
  const Choice choiceB(options.selection, fileB, contentsB);
  const Comparison comparison =
      compareFiles({options.a, fileA, contentsA, choiceA}, {options.b, fileB, contentsB, choiceB},
                   options.tolerance, common.isQuiet);
  if (options.asJson) {
    put(comparisonJson(options, comparison));
  } else if (!common.isQuiet) {
    put(comparisonText(comparison, terminalWidth()));
  }
  for (const std::string& problem : comparison.problems) complain("morvex", problem);
  // Before the findings: what could not be read may differ as well.
  if (!comparison.problems.empty()) return kDataError;
  return comparison.hasDifferences() ? kFindings : kSuccess;
}

/// Adds an option for a finite number, 0 or more.
void addTolerance(CLI::App& app, const std::string& name, double& value,
                  const std::string& description) {
  app.add_option(name, value, description)
      ->check(CLI::Validator("").operation([](std::string& text) {
        double number = -1;
        const bool isNumber = CLI::detail::lexical_cast(text, number);
        if (isNumber && number >= 0 && std::isfinite(number)) return std::string();
        return "'" + text + "' is no number from 0";
      }))
      ->type_name("NUMBER");
}

}  // namespace

Command addDiff(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand(
      "diff", "Compares two files: what differs, where most, and what only one has");
  const auto options = std::make_shared<DiffOptions>();
  app->add_option("A", options->a, "result file")->required();
  app->add_option("B", options->b, "result file to compare with")->required();
  addTolerance(*app, "--tolerance", options->tolerance.relative,
               "differences up to this part of the larger magnitude are none (0)");
  addTolerance(*app, "--absolute", options->tolerance.absolute,
               "differences up to this number are none (0); of both tolerances the larger counts");
  addSelection(*app, options->selection);
  addArrays(*app, options->selection);
  addJson(*app, options->asJson);
  app->footer(
      "Examples:\n  morvex diff before.mvx after.mvx --tolerance 1e-6\n"
      "  morvex diff -q before.mvx after.mvx --variable stress && echo equal");
  return {app, [options, &common] { return diffFiles(*options, common); }};
}

}  // namespace morvex::tools

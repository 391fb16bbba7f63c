// The program `morvex-demo`: reads every array of the crash box that morvex sample writes, the way
// a host does, and compares each with what was written.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <numeric>

#include "common/array_list.hpp"
#include "common/element_kinds.hpp"
#include "common/output.hpp"
#include "common/program.hpp"
#include "common/text_table.hpp"
#include "writer/crash_box.hpp"

namespace morvex::tools {
namespace {

using Clock = std::chrono::steady_clock;
using Writer::CrashBox;
using Writer::Tolerance;
using Writer::ValueKey;

/// An array as it was read.
struct Values {
  std::string path;
  std::vector<std::byte> bytes;
};

template <class T>
std::vector<T> valuesOf(const Values& read) {
  std::vector<T> values(read.bytes.size() / sizeof(T));
  if (!values.empty()) std::memcpy(values.data(), read.bytes.data(), read.bytes.size());
  return values;
}

/// Totals of one section, or of all of a kind.
struct Outcome {
  std::uint64_t arrays = 0;
  std::uint64_t bytes = 0;
  double seconds = 0.0;
  double largestError = 0.0;
  std::uint64_t differences = 0;

  void add(const Outcome& other) {
    arrays += other.arrays;
    bytes += other.bytes;
    seconds += other.seconds;
    largestError = std::max(largestError, other.largestError);
    differences += other.differences;
  }
};

/// Compares arrays with the model that the file was written from.
class Comparison {
 public:
  explicit Comparison(const CrashBox& model) : model_(model) {}

  void check(const ArrayId& array, const Values& read, Outcome& outcome) const {
    const morvex_request& asked = array.request;
    switch (asked.kind) {
      case MORVEX_COORDINATES:
      case MORVEX_PARTICLE_COORDINATES: {
        const bool ofModel = asked.kind == MORVEX_COORDINATES;
        const auto axes =
            ofModel ? model_.coordinates(asked.step, asked.part) : model_.particles(asked.step);
        const Tolerance tolerance = ofModel ? CrashBox::coordinateTolerance() : Tolerance{};
        checkFloats(read, axes.at(static_cast<std::size_t>(asked.component)), tolerance, outcome);
        break;
      }
      case MORVEX_CONNECTIVITY:
        checkExact(read, model_.elements(asked.part).at(asked.element_type), outcome);
        break;
      case MORVEX_BORDER_FACES:
        checkExact(read, model_.borderFaces().connectivity.nodes, outcome);
        break;
      case MORVEX_BORDER_PARENT_IDS:
        checkExact(read, model_.borderFaces().parentIds, outcome);
        break;
      case MORVEX_BORDER_PARENT_TYPES:
        checkExact(read, model_.borderFaces().parentTypes, outcome);
        break;
      case MORVEX_VARIABLE: {
        if (array.kind == ArrayKind::kConstants) {
          checkExact(read, std::vector<float>{model_.crushForce(asked.step)}, outcome);
          break;
        }
        const auto variable = static_cast<CrashBox::Variable>(asked.variable);
        const bool isPerNode = model_.keys(variable).front().elementType < 0;
        const ValueKey key{.step = asked.step,
                           .part = asked.part,
                           .elementType = isPerNode ? -1 : asked.element_type,
                           .component = asked.component,
                           .imaginary = asked.imaginary != 0};
        checkFloats(read, model_.values(variable, key), model_.toleranceOf(variable), outcome);
        break;
      }
      default:
        report(read.path + ": the sample has no such array", outcome);
    }
  }

  static void require(bool holds, const std::string& what, Outcome& outcome) {
    if (!holds) report(what, outcome);
  }

 private:
  static void report(const std::string& what, Outcome& outcome) {
    ++outcome.differences;
    put("DIFFERS  " + what + "\n");
  }

  /// Bit by bit: a NaN equals itself.
  template <class T>
  static void checkExact(const Values& read, const std::vector<T>& written, Outcome& outcome) {
    require(read.bytes.size() == written.size() * sizeof(T) &&
                std::memcmp(read.bytes.data(), written.data(), read.bytes.size()) == 0,
            read.path + " is not what was written", outcome);
  }

  static void checkFloats(const Values& read, const std::vector<float>& written,
                          const Tolerance& tolerance, Outcome& outcome) {
    if (tolerance.absolute == 0.0 && tolerance.relative == 0.0) {
      return checkExact(read, written, outcome);
    }
    const std::vector<float> values = valuesOf<float>(read);
    if (values.size() != written.size()) return report(read.path + " has another size", outcome);
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double error = std::abs(double{values[i]} - double{written[i]});
      // Half a quantum, plus the rounding of the result to a float.
      const double allowed = tolerance.absolute + tolerance.relative * std::abs(double{written[i]});
      outcome.largestError = std::max(outcome.largestError, error);
      if (!(error <= allowed)) {  // true for NaN as well
        return report(read.path + "[" + std::to_string(i) + "] is " + numberText(values[i]) +
                          " where " + numberText(written[i]) + " was written",
                      outcome);
      }
    }
  }

  const CrashBox& model_;
};

class Demo {
 public:
  Demo(const CrashBox& model, const File& file)
      : model_(model),
        file_(file),
        comparison_(model),
        contents_(readContents(file)),
        choice_(everything_, file, contents_),
        list_(file, contents_, choice_) {}

  /// The number of differences.
  std::uint64_t run() {
    for (const std::string& problem : contents_.problems) Comparison::require(false, problem, all_);
    checkTables();
    if (all_.differences != 0) return all_.differences;  // the file is of another model
    for (const Section& section : list_.sections()) readSection(section);
    checkArrayCounts();
    checkIds();
    summary();
    return all_.differences;
  }

 private:
  void checkTables() {
    const auto expect = [&](bool holds, const std::string& what) {
      Comparison::require(holds, what + ": not the sample with these options", all_);
    };
    const std::vector<morvex_part>& parts = list_.parts(0);
    expect(parts.size() == CrashBox::kPartCount, "number of parts");
    for (std::size_t i = 0; i < std::min<std::size_t>(parts.size(), CrashBox::kPartCount); ++i) {
      const int part = static_cast<int>(i);
      expect(static_cast<std::size_t>(parts[i].nodes) == model_.nodeCount(part),
             std::string("nodes of part ") + parts[i].name);
      for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
        expect(static_cast<std::size_t>(parts[i].elements[type]) == model_.elementCount(part, type),
               std::string("elements of part ") + parts[i].name + ", " + elementName(type));
      }
    }
    expect(contents_.timesets.size() == 1, "number of time sets");
    if (contents_.timesets.size() == 1) {
      std::vector<float> times;
      for (int step = 0; step < model_.steps(); ++step) times.push_back(model_.timeOf(step));
      expect(contents_.timesets[0] == times, "times");
    }
    expect(contents_.variables.size() == CrashBox::kVariableCount, "number of variables");
    for (std::size_t i = 0;
         i < std::min<std::size_t>(contents_.variables.size(), CrashBox::kVariableCount); ++i) {
      expect(std::string(contents_.variables[i].name) ==
                 CrashBox::nameOf(static_cast<CrashBox::Variable>(i)),
             "name of variable " + std::to_string(i));
    }
  }

  void readSection(const Section& section) {
    std::map<std::string, Outcome> outcomes;
    for (const ArrayId& array : list_.arraysOf(section)) {
      const std::string name = section.of == Section::Of::kVariable
                                   ? contents_.variables[std::size_t(section.variable)].name
                                   : kindName(array.kind);
      Outcome& outcome = outcomes[name];
      try {
        const auto start = Clock::now();  // times the library, not the comparison
        const Values read = readArray(array);
        outcome.seconds += std::chrono::duration<double>(Clock::now() - start).count();
        ++outcome.arrays;
        outcome.bytes += read.bytes.size();
        comparison_.check(array, read, outcome);
      } catch (const Error& failure) {
        Comparison::require(false, failure.what(), outcome);
      }
    }
    for (const auto& [name, outcome] : outcomes) {
      put("step " + std::to_string(section.step) + "  " + outcomeText(name, outcome) + "\n");
      totals_[name].add(outcome);
      all_.add(outcome);
    }
  }

  [[nodiscard]] Values readArray(const ArrayId& array) const {
    morvex_request asked = array.request;
    Values read{.path = pathOf(file_, array), .bytes = {}};
    if (array.kind == ArrayKind::kConstants) {
      const float value = file_.constant(asked.variable, asked.step);
      read.bytes.resize(sizeof value);
      std::memcpy(read.bytes.data(), &value, sizeof value);
      return read;
    }
    std::uint64_t valueBytes = 0;
    morvex::check(morvex_get_size(file_.handle(), &asked, &asked.capacity, &valueBytes));
    read.bytes.resize(static_cast<std::size_t>(asked.capacity * valueBytes));
    asked.target = read.bytes.data();
    morvex::check(morvex_read(file_.handle(), &asked, 1, nullptr));
    return read;
  }

  static std::string outcomeText(const std::string& name, const Outcome& outcome) {
    return name + "  " + std::to_string(outcome.arrays) + " arrays  " + sizeText(outcome.bytes) +
           "  " + millisecondsText(outcome.seconds) +
           (outcome.differences == 0 ? "  as written" : "  DIFFERS");
  }

  static std::string millisecondsText(double seconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f ms", 1e3 * seconds);
    return text.data();
  }

  /// Checks that no array of the model was left out.
  void checkArrayCounts() {
    for (int v = 0; v < CrashBox::kVariableCount; ++v) {
      const auto variable = static_cast<CrashBox::Variable>(v);
      const std::string name = CrashBox::nameOf(variable);
      const std::size_t written = variable == CrashBox::kCrushForce
                                      ? static_cast<std::size_t>(model_.steps())
                                      : model_.keys(variable).size();
      Comparison::require(totals_[name].arrays == written,
                          name + ": " + std::to_string(totals_[name].arrays) + " arrays read, " +
                              std::to_string(written) + " written",
                          all_);
    }
    const std::uint64_t axes =
        3U * CrashBox::kPartCount * static_cast<std::uint64_t>(model_.steps());
    Comparison::require(totals_[kindName(ArrayKind::kCoordinates)].arrays == axes,
                        "coordinates: not all steps of all parts were read", all_);
    Comparison::require(totals_[kindName(ArrayKind::kBorderFaces)].arrays == 3,
                        "border faces: not all were read", all_);
  }

  /// The library computes ids: nodes and elements count from 0 in each part, particles from 1.
  void checkIds() {
    Outcome outcome;
    const auto check = [&](const morvex_request& asked, int first, const std::string& what) {
      const auto ids = file_.read<std::int32_t>(asked);
      std::vector<std::int32_t> expected(ids.size());
      std::iota(expected.begin(), expected.end(), first);
      Comparison::require(ids == expected, what, outcome);
      outcome.arrays += 1;
      outcome.bytes += ids.size() * sizeof(std::int32_t);
      return static_cast<int>(ids.size());
    };
    const auto start = Clock::now();
    for (int part = 0; part < file_.partCount(); ++part) {
      check(request(MORVEX_NODE_IDS, 0, part), 0, "node ids");
      int first = 0;
      for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
        morvex_request asked = request(MORVEX_ELEMENT_IDS, 0, part);
        asked.element_type = type;
        first += check(asked, first, "element ids");
      }
    }
    check(request(MORVEX_PARTICLE_IDS), 1, "particle ids");
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    totals_["ids"].add(outcome);
    all_.add(outcome);
  }

  void summary() {
    TextTable table({"read", ">arrays", ">size", ">time", ">largest error", "outcome"});
    const auto row = [&](const std::string& name, const Outcome& outcome) {
      table.row(
          {name, std::to_string(outcome.arrays), sizeText(outcome.bytes),
           millisecondsText(outcome.seconds),
           outcome.largestError == 0.0 ? "0" : numberText(static_cast<float>(outcome.largestError)),
           outcome.differences == 0 ? "as written" : "DIFFERS"});
    };
    for (const auto& [name, outcome] : totals_) row(name, outcome);
    row("all", all_);
    put("\n" + table.text());
  }

  const CrashBox& model_;
  const File& file_;
  Comparison comparison_;
  Contents contents_;
  Selection everything_;
  Choice choice_;
  ArrayList list_;
  std::map<std::string, Outcome> totals_;
  Outcome all_;
};

ExitCode run(int argc, char** argv) {
  std::string path;
  CrashBox::Options options;
  CLI::App app("Reads all of the sample that morvex sample writes and compares it.", "morvex-demo");
  app.add_option("FILE", path, "result file, written with the same options")->required();
  app.add_option("--nodes", options.nodes, "as given to morvex sample")->capture_default_str();
  app.add_option("--steps", options.steps, "as given to morvex sample")->capture_default_str();
  app.footer(
      "Exit codes: 0 as written; 1 a difference; 2 usage; 3 the file can't be opened;\n"
      "4 output can't be written, memory ran out.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    put(app.help());
    return kSuccess;
  } catch (const CLI::ParseError& failure) {
    throw Failure(kUsageError, usageText(app, failure));
  }
  const File file = openFile(path, {});
  const CrashBox model(options);
  const std::uint64_t differences = Demo(model, file).run();
  put(differences == 0 ? "Everything was read as it was written.\n"
                       : std::to_string(differences) + " differences.\n");
  return differences == 0 ? kSuccess : kFindings;
}

}  // namespace
}  // namespace morvex::tools

int main(int argc, char** argv) {
  return morvex::tools::runProgram("morvex-demo", [&] { return morvex::tools::run(argc, argv); });
}

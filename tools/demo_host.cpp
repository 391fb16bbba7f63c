// The program `morvex-demo`: reads every array of the crash box that morvex-sample writes, the way
// a host does, and compares each with what was written.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <iostream>
#include <map>
#include <numeric>

#include "array_list.hpp"
#include "exit_codes.hpp"
#include "failure_text.hpp"
#include "output_streams.hpp"
#include "text_table.hpp"
#include "writer/crash_box.hpp"

namespace morvex::tools {
namespace {

using Clock = std::chrono::steady_clock;
using Writer::CrashBox;
using Writer::Tolerance;
using Writer::ValueKey;

template <class T>
std::vector<T> valuesOf(const DatasetValues& read) {
  std::vector<T> values(read.bytes.size() / sizeof(T));
  if (!values.empty()) std::memcpy(values.data(), read.bytes.data(), read.bytes.size());
  return values;
}

/// What one section, or all of a kind, came to.
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
  Comparison(const CrashBox& model, std::FILE* out) : model_(model), out_(out) {}

  void check(const ArrayId& array, std::span<const DatasetValues> read, Outcome& outcome) const {
    switch (array.kind) {
      case ArrayKind::coordinates:
      case ArrayKind::particles: {
        const bool ofModel = array.kind == ArrayKind::coordinates;
        const auto axes =
            ofModel ? model_.coordinates(array.step, array.part) : model_.particles(array.step);
        const Tolerance tolerance = ofModel ? CrashBox::coordinateTolerance() : Tolerance{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
          checkFloats(read[axis], axes[axis], tolerance, outcome);
        }
        break;
      }
      case ArrayKind::connectivity:
        checkExact(read[0], model_.elements(array.part).at(array.elementType), outcome);
        break;
      case ArrayKind::borderFaces:
        checkExact(read[0], model_.borderFaces().connectivity.nodes, outcome);
        checkExact(read[1], model_.borderFaces().parentIds, outcome);
        checkExact(read[2], model_.borderFaces().parentTypes, outcome);
        break;
      case ArrayKind::variables: {
        const auto variable = static_cast<CrashBox::Variable>(array.variable);
        const ValueKey key{.step = array.step,
                           .part = array.part,
                           .elementType = array.elementType,
                           .component = array.component,
                           .imaginary = array.isImaginary};
        checkFloats(read[0], model_.values(variable, key), model_.toleranceOf(variable), outcome);
        break;
      }
      case ArrayKind::constants:
        checkExact(read[0], std::vector<float>{model_.crushForce(array.step)}, outcome);
        break;
      default:
        report(read[0].path + ": the sample has no such array", outcome);
    }
  }

  void require(bool holds, const std::string& what, Outcome& outcome) const {
    if (!holds) report(what, outcome);
  }

 private:
  void report(const std::string& what, Outcome& outcome) const {
    ++outcome.differences;
    put(out_, "DIFFERS  " + what + "\n");
  }

  template <class T>
  void checkExact(const DatasetValues& read, const std::vector<T>& written,
                  Outcome& outcome) const {
    require(read.bytes.size() == written.size() * sizeof(T) &&
                std::memcmp(read.bytes.data(), written.data(), read.bytes.size()) == 0,
            read.path + " is not what was written", outcome);
  }

  void checkFloats(const DatasetValues& read, const std::vector<float>& written,
                   const Tolerance& tolerance, Outcome& outcome) const {
    if (tolerance.absolute == 0.0 && tolerance.relative == 0.0) {
      return checkExact(read, written, outcome);
    }
    const std::vector<float> values = valuesOf<float>(read);
    if (values.size() != written.size()) return report(read.path + " has another size", outcome);
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double error = std::abs(double{values[i]} - double{written[i]});
      // Half a quantum, and the rounding of the result to a float.
      const double allowed = tolerance.absolute + tolerance.relative * std::abs(double{written[i]});
      outcome.largestError = std::max(outcome.largestError, error);
      if (!(error <= allowed)) {  // also for a value that is no number
        return report(read.path + "[" + std::to_string(i) + "] is " + numberText(values[i]) +
                          " where " + numberText(written[i]) + " was written",
                      outcome);
      }
    }
  }

  const CrashBox& model_;
  std::FILE* out_;
};

class Demo {
 public:
  Demo(const CrashBox& model, std::FILE* out)
      : model_(model),
        out_(out),
        comparison_(model, out),
        contents_(readContents()),
        reader_(contents_) {}

  /// The number of differences.
  std::uint64_t run() {
    for (const std::string& problem : contents_.problems) comparison_.require(false, problem, all_);
    settleStaticVariables(contents_, reader_);
    checkTables();
    if (all_.differences != 0) return all_.differences;  // another model
    for (const Section& section : sectionsOf(contents_)) readSection(section);
    checkArrayCounts();
    checkIds();
    summary();
    return all_.differences;
  }

 private:
  void checkTables() {
    const auto expect = [&](bool holds, const std::string& what) {
      comparison_.require(holds, what + ": not the sample with these options", all_);
    };
    const std::vector<Part>& parts = reader_.parts(0);
    expect(parts.size() == CrashBox::kPartCount, "number of parts");
    for (std::size_t i = 0; i < std::min<std::size_t>(parts.size(), CrashBox::kPartCount); ++i) {
      const int part = static_cast<int>(i);
      expect(static_cast<std::size_t>(parts[i].nodes) == model_.nodeCount(part),
             "nodes of part " + parts[i].name);
      for (int type = 0; type < MXG_ELEMENT_TYPES; ++type) {
        expect(static_cast<std::size_t>(parts[i].elements[static_cast<std::size_t>(type)]) ==
                   model_.elementCount(part, type),
               "elements of part " + parts[i].name + ", " + elementName(type));
      }
    }
    expect(contents_.timeSets.size() == 1, "number of time sets");
    if (contents_.timeSets.size() == 1) {
      std::vector<float> times;
      for (int step = 0; step < model_.steps(); ++step) times.push_back(model_.timeOf(step));
      expect(contents_.timeSets[0] == times, "times");
    }
    expect(contents_.variables.size() == CrashBox::kVariableCount, "number of variables");
    for (std::size_t i = 0;
         i < std::min<std::size_t>(contents_.variables.size(), CrashBox::kVariableCount); ++i) {
      expect(contents_.variables[i].name == CrashBox::nameOf(static_cast<CrashBox::Variable>(i)),
             "name of variable " + std::to_string(i));
    }
  }

  void readSection(const Section& section) {
    std::map<std::string, Outcome> outcomes;
    for (const ArrayId& array : arraysOf(contents_, section, reader_)) {
      const std::string name = section.of == Section::Of::variable
                                   ? contents_.variables[std::size_t(section.variable)].name
                                   : kindName(array.kind);
      Outcome& outcome = outcomes[name];
      try {
        const auto start = Clock::now();
        const auto read = reader_.read(array);
        outcome.seconds += std::chrono::duration<double>(Clock::now() - start).count();
        if (read.empty()) continue;
        outcome.arrays += read.size();
        for (const DatasetValues& values : read) outcome.bytes += values.bytes.size();
        comparison_.check(array, read, outcome);
      } catch (const ReadFailure& failure) {
        comparison_.require(false, failure.path() + ": " + failure.what(), outcome);
      }
    }
    for (const auto& [name, outcome] : outcomes) {
      put(out_, "step " + std::to_string(section.step) + "  " + outcomeText(name, outcome) + "\n");
      totals_[name].add(outcome);
      all_.add(outcome);
    }
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

  /// No array of the model may have been passed over.
  void checkArrayCounts() {
    for (int v = 0; v < CrashBox::kVariableCount; ++v) {
      const auto variable = static_cast<CrashBox::Variable>(v);
      const std::string name = CrashBox::nameOf(variable);
      const std::size_t written = variable == CrashBox::kCrushForce
                                      ? static_cast<std::size_t>(model_.steps())
                                      : model_.keys(variable).size();
      comparison_.require(totals_[name].arrays == written,
                          name + ": " + std::to_string(totals_[name].arrays) + " arrays read, " +
                              std::to_string(written) + " written",
                          all_);
    }
    const std::uint64_t axes =
        3U * CrashBox::kPartCount * static_cast<std::uint64_t>(model_.steps());
    comparison_.require(totals_[kindName(ArrayKind::coordinates)].arrays == axes,
                        "coordinates: not all steps of all parts were read", all_);
    comparison_.require(totals_[kindName(ArrayKind::borderFaces)].arrays == 3,
                        "border faces: not all were read", all_);
  }

  /// Ids are made by the library: nodes and elements count from 0 in each part, particles from 1.
  void checkIds() {
    Outcome outcome;
    const auto check = [&](std::uint64_t count, int first, const auto& ask,
                           const std::string& what) {
      const auto ids = answerOf<std::int32_t>(ask);
      std::vector<std::int32_t> expected(static_cast<std::size_t>(count));
      std::iota(expected.begin(), expected.end(), first);
      comparison_.require(ids == expected, what, outcome);
      outcome.arrays += 1;
      outcome.bytes += ids.size() * sizeof(std::int32_t);
    };
    const auto start = Clock::now();
    const std::vector<Part>& parts = reader_.parts(0);
    for (int p = 0; p < static_cast<int>(parts.size()); ++p) {
      const Part& part = parts[static_cast<std::size_t>(p)];
      const auto nodeIds = [&](auto... out) { return mxg_get_part_node_ids(0, p, out...); };
      check(part.nodes, 0, nodeIds, "node ids");
      int first = 0;
      for (int type = 0; type < MXG_ELEMENT_TYPES; ++type) {
        const std::uint64_t count = part.elements[static_cast<std::size_t>(type)];
        if (count == 0) continue;
        const auto elementIds = [&](auto... out) {
          return mxg_get_part_element_ids(0, p, type, out...);
        };
        check(count, first, elementIds, "element ids");
        first += static_cast<int>(count);
      }
    }
    const auto particleIds = [](auto... out) { return mxg_get_measured_particle_ids(0, out...); };
    check(readParticleCount(0), 1, particleIds, "particle ids");
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
    put(out_, "\n" + table.text());
  }

  const CrashBox& model_;
  std::FILE* out_;
  Comparison comparison_;
  Contents contents_;
  ArrayReader reader_;
  std::map<std::string, Outcome> totals_;
  Outcome all_;
};

int compare(const std::string& path, const CrashBox::Options& options, OutputStreams& streams) {
  std::optional<OpenFile> file;
  try {
    file.emplace(path);
  } catch (const AskFailure& failure) {
    put(streams.messages(), std::string("morvex-demo: ") + failure.what() + "\n");
    return kCannotOpen;
  }
  const CrashBox model(options);
  const std::uint64_t differences = Demo(model, streams.data()).run();
  put(streams.data(), differences == 0 ? "Everything was read as it was written.\n"
                                       : std::to_string(differences) + " differences.\n");
  return differences == 0 ? kAllWell : kDataFailed;
}

int main(int argc, char** argv) {
  std::string path;
  CrashBox::Options options;
  CLI::App app("Reads all of the crash box that morvex-sample writes and compares it.",
               "morvex-demo");
  app.add_option("FILE", path, "result file, written with the same options")->required();
  app.add_option("--nodes", options.nodes, "as given to morvex-sample")->capture_default_str();
  app.add_option("--steps", options.steps, "as given to morvex-sample")->capture_default_str();
  app.footer(
      "Exit codes: 0 as written; 1 a difference; 2 usage; 3 the file can't be opened;\n"
      "4 output can't be written, memory ran out.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& failure) {
    return app.exit(failure, std::cout, std::cerr) == 0 ? kAllWell : kUsageError;
  }
  try {
    OutputStreams streams("");
    const int code = compare(path, options, streams);
    return streams.finish() ? code : kOutputFailed;
  } catch (...) {
    std::cerr << "morvex-demo: " << failureText() << "\n";
    return kOutputFailed;
  }
}

}  // namespace
}  // namespace morvex::tools

int main(int argc, char** argv) {
  return morvex::tools::main(argc, argv);
}

// `morvex explain`: how an array is rebuilt from what is stored.

#include <cstdio>
#include <memory>

#include "commands/command.hpp"
#include "commands/explain.hpp"
#include "common/batch_reader.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

struct ExplainOptions {
  std::string file;
  Selection selection;
  bool withAnalysis = false;
  bool asDot = false;
};

/// With microseconds: small arrays take a few of them.
std::string millisecondsText(double seconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3f ms", 1e3 * seconds);
  return text.data();
}

/// The explanation as indented text: each dataset once, below the first one that depends on it.
class Outline {
 public:
  /// Both are borrowed; `analysis` may be null. `width`: columns of a line, 0 for any number.
  Outline(const Explanation& explanation, const Analysis* analysis, std::size_t width)
      : explanation_(explanation),
        analysis_(analysis),
        width_(width),
        isShown_(explanation.datasets.size()) {}

  /// To be called once. The requested dataset is the last of the explanation and the first line.
  std::string text() {
    dataset(explanation_.datasets.size() - 1, 0);
    return std::move(text_);
  }

 private:
  void line(int depth, const std::string& text) {
    const auto indent = static_cast<std::size_t>(2 * depth);
    text_ += wrapped(std::string(indent, ' ') + text, width_, indent + 4) + "\n";
  }

  /// Recurses into what the dataset depends on. Explanations have no cycles.
  void dataset(std::size_t place, int depth) {
    const ExplainedDataset& dataset = explanation_.datasets[place];
    const std::string path = shownText(dataset.path);
    // The steps of a series share what they depend on; repeating it would fill the outline.
    if (isShown_[place]) return line(depth, path + "  (shown above)");
    isShown_[place] = true;
    line(depth, path);
    line(depth + 1, "recipe " + shownText(dataset.recipe) + ", " + std::to_string(dataset.stored) +
                        " bytes stored");
    std::vector<std::size_t> needed;
    for (std::size_t i = 0; i < dataset.steps.size(); ++i) {
      const ChainStep& step = dataset.steps[i];
      line(depth + 1, std::to_string(i) + "  " + step.name + ": " + step.words);
      for (const ChainStep::Input& input : step.inputs) {
        line(depth + 2, "<- " + inputText(input));
        if (input.dataset >= 0) needed.push_back(static_cast<std::size_t>(input.dataset));
      }
    }
    if (analysis_ && place < analysis_->datasets.size())
      runs(analysis_->datasets[place], depth + 1);
    for (const std::string& problem : dataset.problems) line(depth + 1, "FAILED " + problem);
    // After the chain, so that its lines stay together.
    for (const std::size_t other : needed) this->dataset(other, depth + 1);
  }

  /// An input by its number in the chain, its path or a description.
  [[nodiscard]] std::string inputText(const ChainStep::Input& input) const {
    if (input.step >= 0) return "procedure " + std::to_string(input.step);
    if (input.dataset < 0) return shownText(input.words);
    return shownText(explanation_.datasets[static_cast<std::size_t>(input.dataset)].path);
  }

  /// Inner runs are indented. Copies of one procedure, each for a chunk, are one line.
  void runs(const std::vector<ProcedureRun>& runs, int depth) {
    // Chunks run one after the other, as there is one thread.
    for (std::size_t i = 0; i < runs.size();) {
      ProcedureRun sum = runs[i];
      std::size_t count = 1;
      while (++i < runs.size() && runs[i].name == sum.name && runs[i].depth == sum.depth) {
        sum.seconds += runs[i].seconds;
        sum.bytesIn += runs[i].bytesIn;
        sum.bytesOut += runs[i].bytesOut;
        ++count;
      }
      line(depth + sum.depth,
           "ran " + sum.name + (count == 1 ? "" : ", " + std::to_string(count) + " times") + ": " +
               millisecondsText(sum.seconds) + ", " + std::to_string(sum.bytesIn) + " bytes in, " +
               std::to_string(sum.bytesOut) + " out");
    }
  }

  const Explanation& explanation_;
  const Analysis* analysis_;
  std::size_t width_;
  std::vector<bool> isShown_;  ///< by dataset: the file may refer to one many times
  std::string text_;
};

/// A string of Graphviz's language.
std::string quoted(const std::string& text) {
  std::string escaped = "\"";
  for (const char c : shownText(text)) {
    if (c == '"' || c == '\\') escaped += '\\';
    escaped += c;
  }
  return escaped + '"';
}

/// The graph in Graphviz's language: boxes are results, ellipses procedures.
/// `prefix` keeps the nodes of several arrays apart.
std::string dotText(const Explanation& explanation, const std::string& prefix) {
  std::string text;
  for (std::size_t d = 0; d < explanation.datasets.size(); ++d) {
    const ExplainedDataset& dataset = explanation.datasets[d];
    const auto nodeOf = [&](std::size_t place, std::size_t step) {
      return prefix + std::to_string(place) + "_" + std::to_string(step);
    };
    const auto resultOf = [&](std::size_t place) { return prefix + std::to_string(place); };
    text += "  " + resultOf(d) + " [shape=box, label=" + quoted(dataset.path) + "];\n";
    for (std::size_t i = 0; i < dataset.steps.size(); ++i) {
      const ChainStep& step = dataset.steps[i];
      text += "  " + nodeOf(d, i) + " [label=" + quoted(step.name) + "];\n";
      for (std::size_t k = 0; k < step.inputs.size(); ++k) {
        const ChainStep::Input& input = step.inputs[k];
        std::string from = nodeOf(d, i) + "_" + std::to_string(k);
        if (input.step >= 0) from = nodeOf(d, static_cast<std::size_t>(input.step));
        if (input.dataset >= 0) from = resultOf(static_cast<std::size_t>(input.dataset));
        // Stored bytes are a node of their own, which nothing else refers to.
        if (input.step < 0 && input.dataset < 0) {
          text += "  " + from + " [shape=note, label=" + quoted(input.words) + "];\n";
        }
        text += "  " + from + " -> " + nodeOf(d, i) + ";\n";
      }
    }
    if (!dataset.steps.empty()) {
      text += "  " + nodeOf(d, dataset.steps.size() - 1) + " -> " + resultOf(d) + ";\n";
    }
  }
  return text;
}

ExitCode explainFile(const ExplainOptions& options, const Common& common) {
  const File file = openFile(options.file, common.open);
  const Contents contents = readContents(file);
  const Choice choice(options.selection, file, contents);
  StoredFile stored(options.file, common.open);
  // A reader of its own: libmorvex shows no procedures.
  Kelbor::DataManager manager;
  EnsgSimulation simulation(&manager, options.file, /*keepUnloaded=*/false);
  ArrayList list(file, contents, choice);
  if (options.asDot) put("digraph morvex {\n  rankdir=LR;\n");
  // Explained so far; numbers the nodes of the graphs.
  std::uint64_t arrays = 0;
  ExitCode code = kSuccess;
  // Prints one array, or adds it to the graph. Throws what the inner layers throw.
  const auto explainArray = [&](const ArrayId& array) {
    const std::string path = pathOf(file, array);
    if (array.kind == ArrayKind::kConstants) {
      ++arrays;
      if (!options.asDot) put(shownText(path) + "\n  is a number of the metadata\n");
      return;
    }
    if (array.kind == ArrayKind::kVariables && !stored.bytesOf(path)) return;
    const Explanation explanation = explain(stored, simulation, path);
    if (options.asDot) {
      put(dotText(explanation, "a" + std::to_string(arrays++) + "_"));
      return;
    }
    const ArraySize size = sizeOf(file, array);
    std::optional<Analysis> analysis;
    if (options.withAnalysis) {
      const bool isVariable = array.kind == ArrayKind::kVariables;
      const auto variable = static_cast<std::size_t>(array.request.variable);
      const bool onParticles = isVariable && contents.variables[variable].on_particles != 0;
      // Blocks are read by calls of their own, and block values have no element type.
      const bool isBlock =
          array.kind == ArrayKind::kBlockCoordinates ||
          (isVariable && !onParticles && file.part(array.request.part, 0).is_block != 0);
      const bool isPerNode = isVariable && contents.variables[variable].location == MORVEX_PER_NODE;
      analysis = analyse(simulation, array, size, path, isBlock, isPerNode);
    }
    const std::size_t width = terminalWidth();
    const auto line = [width](const std::string& text) {
      put(wrapped("  " + text, width, 6) + "\n");
    };
    put((arrays++ == 0 ? "" : "\n") +
        Outline(explanation, analysis ? &*analysis : nullptr, width).text());
    const auto form = stored.formOf(path);
    line(std::to_string(size.count) + " values, " + std::to_string(size.bytes()) +
         " bytes decoded" + (form ? ", " + form->name() : ""));
    if (analysis) {
      // The last dataset is the array itself, which no cache keeps.
      const std::size_t others = explanation.datasets.size() - 1;
      // The array itself runs again in any case and is no other result.
      const std::size_t again = analysis->runAgain == 0 ? 0 : analysis->runAgain - 1;
      line("read in " + millisecondsText(analysis->firstSeconds) + ", again in " +
           millisecondsText(analysis->secondSeconds) + " with " +
           std::to_string(others - std::min(others, again)) + " of " + std::to_string(others) +
           " other results from the cache");
    }
  };
  for (const Section& section : list.sections()) {
    for (const ArrayId& array : list.arraysOf(section)) {
      try {
        explainArray(array);
      } catch (const Failure& failure) {
        if (failure.code() == kOutputFailed) throw;
        complain("morvex", options.file + ": " + failure.what());
        code = kDataError;
      } catch (...) {
        complain("morvex", options.file + ": " + pathOf(file, array) + ": " + innerFailureText());
        code = kDataError;
      }
      if (isInterrupted()) throw Interrupted{};
    }
  }
  if (options.asDot) put("}\n");
  list.requireNamed();
  if (arrays == 0 && code == kSuccess) {
    throw Failure(kUsageError, "the selection has no values in this file");
  }
  return code;
}

}  // namespace

Command addExplain(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand(
      "explain", "How arrays are rebuilt: procedures, parameters, what they depend on");
  const auto options = std::make_shared<ExplainOptions>();
  addFile(*app, options->file);
  app->add_option("ARRAY", options->selection.arrays,
                  "paths as shown by list, patterns, or kinds such as coordinates")
      ->required();
  addSelection(*app, options->selection);
  app->add_flag("--analyze", options->withAnalysis,
                "also read them, on one thread: time and bytes of each procedure, cached results");
  app->add_flag("--dot", options->asDot, "the graph in Graphviz's language");
  app->footer(
      "Examples:\n  morvex explain crash.mvx /variable/stress/2/0/10_0_data --analyze\n"
      "  morvex explain crash.mvx '/variable/stress/2/*' --dot | dot -Tsvg > out.svg");
  return {app, [options, &common] { return explainFile(*options, common); }};
}

}  // namespace morvex::tools

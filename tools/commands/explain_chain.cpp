// The chain of a dataset in words, and those of the datasets that it depends on.

#include <algorithm>
#include <set>

#include "commands/explain.hpp"
#include "common/exit_codes.hpp"
#include "common/text_table.hpp"
#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/read_context.hpp"

namespace morvex::tools {
namespace {

namespace ClassTags = Kelbor::MathModule::ClassTags;

/// The precision of quantised numbers in words, with its parameters as stored.
std::string precisionWords(const PrecisionSetting& precision) {
  std::string parameters;
  for (const double parameter : precision.parameters) {
    parameters += (parameters.empty() ? "" : ", ") + numberText(parameter);
  }
  switch (precision.type) {
    case QuantizationType::UniformQuantization:
    case QuantizationType::RelativeQuantization:  // the look-up turned it into a step
      return "integers times a step of " + parameters;
    case QuantizationType::AdaptiveShiftQuantization:
    case QuantizationType::AdaptiveExponentQuantization:
      return "integers times a step for each value, parameters " + parameters;
    default:
      return "integers times a step, parameters " + parameters;
  }
}

/// What a procedure of a class does.
std::string wordsOf(std::int32_t tag) {
  switch (tag) {
    case ClassTags::kChunkedZlib:
      return "inflates byte planes and joins them to integers";
    case ClassTags::kChunkedZlibTree:
      return "inflates byte planes of differences along a tree";
    case ClassTags::kSimpleSums:
      return "sums up differences along the array";
    case ClassTags::kOffsetSums:
      return "sums up differences between blocks";
    case ClassTags::kVectorSums:
      return "adds differences to the values of other steps";
    case ClassTags::kTreeSums:
      return "sums up differences along a tree of neighbours";
    case ClassTags::kIdWindowChain:
      return "inflates ids, some of them references to a window of earlier ones";
    case ClassTags::kDecoderZlib:
      return "inflates a list";
    case ClassTags::kDequantization:
      return "turns integers into numbers and puts in the outliers";
    default:
      return "does what this release doesn't know";
  }
}

/// Walks a dataset's references in depth, each dataset before those that refer to it. The reader computes
/// them in the same order, by which its runs are matched with the datasets.
class Explainer {
 public:
  Explainer(StoredFile& stored, EnsgSimulation& simulation)
      : stored_(stored), simulation_(simulation) {}

  /// Place of the dataset in the explanation, after all that it depends on.
  /// Failure kDataError if the dataset can't be explained.
  int add(const std::string& path) {
    if (const auto known = places_.find(path); known != places_.end()) return known->second;
    // Damaged recipes may refer to each other in a circle.
    if (!open_.insert(path).second) {
      throw Failure(kDataError, path + ": depends on itself");
    }
    ExplainedDataset dataset = describe(path);
    open_.erase(path);
    explanation_.datasets.push_back(std::move(dataset));
    const int place = static_cast<int>(explanation_.datasets.size()) - 1;
    places_.emplace(path, place);
    return place;
  }

  /// Once all datasets were added.
  [[nodiscard]] Explanation take() { return std::move(explanation_); }

 private:
  /// Failure kDataError if the dataset or its recipe is missing.
  ExplainedDataset describe(const std::string& path) {
    const auto [group, name] = splitDatasetPath(path);
    const auto header = stored_.header(group, name);
    if (!header) throw Failure(kDataError, path + ": is not in the file");
    const auto& recipes = stored_.recipes();
    const std::int32_t number = header->recipeIndex;
    if (number < 0 || static_cast<std::size_t>(number) >= recipes.size()) {
      throw Failure(kDataError,
                    path + ": recipe " + std::to_string(number) + " is not in the list");
    }
    const ZipRecipe& zipRecipe = recipes[static_cast<std::size_t>(number)];
    ExplainedDataset dataset{.path = path,
                             .recipe = std::to_string(number) + " \"" + zipRecipe.label + "\"",
                             .stored = stored_.bytesOf(path).value_or(0),
                             .steps = {},
                             .problems = {}};
    const Recipe& recipe = zipRecipe.recipe;
    ProcedureTagReader classes(recipe);
    // The inputs of all procedures are one list, cut by their counts.
    std::size_t next = 0;
    for (std::size_t i = 0; i < recipe.inputCounts.size(); ++i) {
      ChainStep& step = dataset.steps.emplace_back();
      describeClass(classes.next(), path, step);
      for (std::uint32_t k = 0; k < recipe.inputCounts[i] && next < recipe.inputs.size(); ++k) {
        step.inputs.push_back(describeInput(recipe.inputs[next++], group, name, dataset.problems));
      }
    }
    return dataset;
  }

  /// Class, wrapper and parameters of a procedure in words.
  void describeClass(const ProcedureTags& tags, const std::string& path, ChainStep& step) {
    const std::int32_t tag = tags.nested.back();
    // The innermost class does the work; what wraps it runs copies of it on chunks.
    const char* known = Kelbor::MathModule::classTagName(tag);
    step.name = known ? known : "class " + std::to_string(tag);
    step.words = wordsOf(tag);
    if (tags.nested.size() > 1) step.words += ", in chunks";
    if (tag == ClassTags::kDequantization) step.words += "; " + precisionOf(path);
  }

  /// The precision of the variable or geometry that a path belongs to.
  std::string precisionOf(const std::string& path) {
    std::string name = "coordinates";
    if (path.starts_with("/geometry/1/")) name = "mcoordinates";
    if (path.starts_with("/variable/")) {
      // Names of variables have no slashes, groups of steps and parts follow.
      const std::size_t begin = std::string_view("/variable/").size();
      name = path.substr(begin, path.find('/', begin) - begin);
    }
    return precisionWords(simulation_.reads().precisions.getPrecision(name));
  }

  /// Explains a referenced dataset first, which adds it to the explanation.
  ChainStep::Input describeInput(const Recipe::Input& input, const std::string& group,
                                 const std::string& name, std::vector<std::string>& problems) {
    if (const auto* chain = boost::get<Recipe::ChainInput>(&input)) {
      return {.words = storedWords(group, name, chain->index)};
    }
    if (const auto* output = boost::get<Recipe::ProcedureOutput>(&input)) {
      return {.step = static_cast<int>(output->procedure), .words = {}};
    }
    if (const auto* reference = boost::get<ExternalReference>(&input)) {
      const std::string path = resolveDatasetKey(reference->datasetKey, group, name);
      try {
        return {.dataset = add(path), .words = {}};
      } catch (const Failure& failure) {
        // The rest of the chain is still worth showing.
        if (!reference->optional) problems.emplace_back(failure.what());
        return {.words = path + (reference->optional ? ", optional, not there" : ", missing")};
      }
    }
    return {.words = "an unknown kind of input"};
  }

  /// The chain's input of a number: the payload and lists beside it.
  std::string storedWords(const std::string& group, const std::string& name, std::uint32_t number) {
    // Floats have two lists of outliers, integers one of new ids.
    const bool isIds =
        !name.ends_with("_data") && !name.ends_with("_imag") && !name.starts_with("coordinates_");
    if (number == 0) {
      // Quantised values have a header of their own and the payload of the dataset beside them.
      const std::string own = name.substr(0, name.rfind(kQuantisedSuffix));
      return "the payload of " + own + ", " + sizeWords(group, own);
    }
    const std::string suffix = isIds ? "_notreused" : number == 1 ? "_op" : "_ov";
    const char* what = isIds         ? "new ids"
                       : number == 1 ? "places of outliers"
                                     : "values of outliers";
    const auto info = stored_.file().getDatasetInfo(group, name + suffix);
    if (!info || info->logicalSize == 0) return std::string("no ") + what;
    return std::string(what) + " in " + name + suffix + ", " + sizeWords(group, name + suffix);
  }

  /// Bytes of a dataset after inflating, or "missing".
  std::string sizeWords(const std::string& group, const std::string& name) {
    const auto info = stored_.file().getDatasetInfo(group, name);
    return info ? std::to_string(info->logicalSize) + " bytes" : "missing";
  }

  StoredFile& stored_;
  EnsgSimulation& simulation_;
  Explanation explanation_;
  std::map<std::string, int> places_;
  std::set<std::string> open_;
};

}  // namespace

Explanation explain(StoredFile& stored, EnsgSimulation& simulation, const std::string& path) {
  Explainer explainer(stored, simulation);
  (void)explainer.add(path);
  return explainer.take();
}

}  // namespace morvex::tools

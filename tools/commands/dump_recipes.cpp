// Recipes in words: procedures, wiring, names of results.

#include "commands/dump.hpp"
#include "common/text_table.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_cursor.hpp"
#include "procedures/factory_table.hpp"

namespace morvex::tools {
namespace {

namespace ClassTags = Kelbor::MathModule::ClassTags;

constexpr int kDeepestWrapper = 8;

/// Reads a class tag and its parameters from the stream.
std::string className(RecordCursor& classes, int depth) {
  const auto tag = classes.read<std::int32_t>();
  const char* name = Kelbor::MathModule::classTagName(tag);
  std::string text = name ? name : "unknown class " + std::to_string(tag);
  if (tag != ClassTags::kParallelWrapper) return text;
  const auto block = classes.take(classes.readCount(1));
  if (depth > kDeepestWrapper) return text + " of wrappers nested too deeply";
  RecordCursor inner(block);
  (void)readVersion(inner);
  return text + " of " + className(inner, depth + 1);
}

struct InputWords {
  using result_type = std::string;

  std::string operator()(const boost::blank& /*unknown*/) const {
    return "an unknown kind of input";
  }
  std::string operator()(const Recipe::ChainInput& input) const {
    return "input " + std::to_string(input.index);
  }
  std::string operator()(const Recipe::ProcedureOutput& output) const {
    return "output " + std::to_string(output.output) + " of step " +
           std::to_string(output.procedure);
  }
  std::string operator()(const ExternalReference& reference) const {
    return std::string(reference.optional ? "optional " : "") + "output " +
           std::to_string(reference.outputIndex) + " of \"" + shownText(reference.outputKey) +
           "\" of dataset \"" + shownText(reference.datasetKey) + "\"";
  }
};

}  // namespace

void Dump::recipes() {
  heading("Recipes");
  attempt("/kelbor/recipes", [&] { (void)recipeList(); });
  int index = 0;
  for (const ZipRecipe& entry : *recipes_) {
    line("  recipe " + std::to_string(index++) + " \"" + shownText(entry.label) + "\"");
    const Recipe& recipe = entry.recipe;
    attempt("chain", [&] {
      RecordCursor classes(recipe.classStream);
      (void)readVersion(classes);
      std::size_t next = 0;
      for (std::size_t step = 0; step < recipe.inputCounts.size(); ++step) {
        std::string text = "    step " + std::to_string(step) + ": " + className(classes, 0);
        for (std::uint32_t k = 0; k < recipe.inputCounts[step]; ++k, ++next) {
          if (next >= recipe.inputs.size()) {
            fail("step " + std::to_string(step) + " takes more inputs than are wired");
            break;
          }
          text +=
              (k == 0 ? " <- " : ", ") + boost::apply_visitor(InputWords{}, recipe.inputs[next]);
        }
        if (step < recipe.outputKeys.size() && !recipe.outputKeys[step].empty()) {
          text += " -> \"" + shownText(recipe.outputKeys[step]) + "\"";
        }
        line(text);
      }
      if (next < recipe.inputs.size()) fail("inputs are left over");
    });
  }
}

}  // namespace morvex::tools

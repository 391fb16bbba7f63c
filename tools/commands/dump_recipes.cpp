// Recipes in words: procedures, wiring, names of results.

#include "commands/dump.hpp"
#include "common/text_table.hpp"
#include "procedures/factory_table.hpp"

namespace morvex::tools {
namespace {

/// Wrapper and wrapped class, for example "OmpDecompressionWrapper of Dequantization".
std::string className(const ProcedureTags& tags) {
  std::string text;
  for (const std::int32_t tag : tags.nested) {
    const char* name = Kelbor::MathModule::classTagName(tag);
    text += (text.empty() ? "" : " of ") +
            (name ? std::string(name) : "unknown class " + std::to_string(tag));
  }
  return tags.isTooDeep ? text + " of wrappers nested too deeply" : text;
}

/// The source of a procedure's input in words; visits the variant of the recipe.
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
  attempt("/kelbor/recipes", [&] { (void)stored_.recipes(); });
  int index = 0;
  for (const ZipRecipe& entry : stored_.recipes()) {
    line("  recipe " + std::to_string(index++) + " \"" + shownText(entry.label) + "\"");
    const Recipe& recipe = entry.recipe;
    attempt("chain", [&] {
      ProcedureTagReader classes(recipe);
      // The inputs of all procedures are one list, cut by their counts.
      std::size_t next = 0;
      for (std::size_t step = 0; step < recipe.inputCounts.size(); ++step) {
        std::string text = "    step " + std::to_string(step) + ": " + className(classes.next());
        for (std::uint32_t k = 0; k < recipe.inputCounts[step]; ++k, ++next) {
          // Damaged counts may ask for more inputs than the list has.
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

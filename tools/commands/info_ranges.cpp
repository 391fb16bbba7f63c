// The ranges of `morvex info`, for which the variables are decoded.

#include "commands/info.hpp"
#include "common/scan.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {

void readRanges(Info& info, const File& file, const Choice& choice, const Common& common) {
  ArrayList list(file, info.contents, choice);
  std::vector<Section> sections = list.sections();
  std::erase_if(sections, [](const Section& section) {
    return section.of != Section::Of::kVariable;  // the box is the range of the coordinates
  });
  // By number: a selection leaves gaps.
  std::map<int, Info::Variable*> variables;
  for (Info::Variable& variable : info.variables) variables[variable.number] = &variable;
  const auto fail = [&](const std::string& what) { info.contents.problems.push_back(what); };
  Scan(file, list, common)
      .run(
          sections,
          [&](const ArrayResult& result) {
            const morvex_request& asked = result.id.request;
            if (result.id.kind == ArrayKind::kConstants) return;  // shown with their values
            if (result.failure) {
              if (!isAbsent(file, result)) fail(result.failure->what());
              return;
            }
            // One range over all parts and element types, and over all steps unless the user chose
            // some.
            const Info::RangeKey key{choice.namesSteps() ? asked.step : -1, asked.component,
                                     asked.imaginary != 0};
            visitValues(result.id, result.bytes, [&](auto values) {
              variables.at(asked.variable)->ranges[key].add(values);
            });
          },
          [&](const Section& section, const Error& failure) {
            fail(list.nameOf(section) + ": " + failure.what());
          });
}

std::string componentText(const morvex_variable& variable, const Info::RangeKey& key) {
  std::string text = morvex_component_name(variable.type, key.component);
  if (text.empty() && variable.components > 1) text = std::to_string(key.component);
  if (key.isImaginary) text += text.empty() ? "imaginary" : " imaginary";
  return text;
}

std::string rangeTable(const Info& info, std::size_t width) {
  TextTable table({">#", "name", "component", ">step", ">min", ">max", ">values", ">NaN"});
  for (const Info::Variable& variable : info.variables) {
    for (const auto& entry : variable.ranges) {
      const Info::RangeKey& key = entry.first;
      const ValueRange& range = entry.second;
      // Values are floats: as doubles they would be printed with digits that no file has.
      const auto bound = [&](double value) {
        return range.isEmpty() ? "-" : numberText(static_cast<float>(value));
      };
      table.row({std::to_string(variable.number), shownText(variable.facts.name),
                 componentText(variable.facts, key),
                 key.step < 0 ? "all" : std::to_string(key.step), bound(range.low),
                 bound(range.high), std::to_string(range.count), std::to_string(range.invalid)});
    }
  }
  return table.empty() ? "" : "\nRanges\n" + table.text(width);
}

}  // namespace morvex::tools

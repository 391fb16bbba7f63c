#include "info.hpp"

#include <algorithm>
#include <array>

#include "answers.hpp"
#include "failure_text.hpp"
#include "text_table.hpp"

namespace morvex::tools {
namespace {

template <class Ask>
void attempt(Info& info, const std::string& question, const Ask& ask) {
  try {
    ask();
  } catch (...) {
    info.contents.problems.push_back(question + ": " + failureText());
  }
}

std::string elementsText(const ElementCounts& counts) {
  std::string text;
  for (int type = 0; type < MXG_ELEMENT_TYPES; ++type) {
    const auto count = counts[static_cast<std::size_t>(type)];
    if (count == 0) continue;
    if (!text.empty()) text += ", ";
    text += elementName(type) + " " + std::to_string(count);
  }
  return text.empty() ? "-" : text;
}

std::string partShape(const Part& part) {
  if (!part.isBlock()) return "unstructured";
  std::string text = "block ";
  for (std::size_t axis = 0; axis < 3; ++axis) {
    text += (axis == 0 ? "" : "x") + std::to_string(part.extents[axis]);
  }
  return text;
}

std::string geometryText(const Geometry& geometry) {
  if (!geometry.isPresent()) return "none";
  std::string text = adaptivityName(geometry.adaptivity);
  if (geometry.adaptivity != Adaptivity::fixed) {
    text += ", " + std::to_string(geometry.steps) + " steps of time set " +
            std::to_string(geometry.timeSet);
  }
  return text;
}

std::string boxText(const std::optional<Box>& box) {
  if (!box) return "unknown";
  std::string text;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    text += std::string(axis == 0 ? "" : "   ") + "xyz"[axis] + " " + numberText(box->low[axis]) +
            " to " + numberText(box->high[axis]);
  }
  return text;
}

std::string timeSetTables(const Contents& contents) {
  TextTable table({">set", ">steps", ">first time", ">last time"});
  for (std::size_t set = 0; set < contents.timeSets.size(); ++set) {
    const auto& times = contents.timeSets[set];
    table.row({std::to_string(set), std::to_string(times.size()),
               times.empty() ? "-" : numberText(times.front()),
               times.empty() ? "-" : numberText(times.back())});
  }
  return table.empty() ? "\nTime sets: none, one step\n" : "\nTime sets\n" + table.text();
}

std::string partTables(const Info& info) {
  TextTable parts({">part", ">id", "name", "shape", ">nodes", "elements"});
  TextTable faces({">part", "border faces"});
  std::array<std::uint64_t, MXG_ELEMENT_TYPES> totals{};
  std::uint64_t nodes = 0;
  for (std::size_t i = 0; i < info.parts.size(); ++i) {
    const Part& part = info.parts[i];
    nodes += part.nodes;
    for (std::size_t type = 0; type < totals.size(); ++type) {
      totals[type] += part.elements[type];
    }
    parts.row({std::to_string(i), std::to_string(part.id), shownText(part.name), partShape(part),
               std::to_string(part.nodes), elementsText(part.elements)});
    if (std::ranges::any_of(part.borderFaces, [](auto count) { return count != 0; })) {
      faces.row({std::to_string(i), elementsText(part.borderFaces)});
    }
  }
  TextTable sums({">type", "element", ">count"});
  for (std::size_t type = 0; type < totals.size(); ++type) {
    if (totals[type] == 0) continue;
    sums.row(
        {std::to_string(type), elementName(static_cast<int>(type)), std::to_string(totals[type])});
  }
  std::string text = "\nParts";
  if (info.contents.model.adaptivity == Adaptivity::connectivity) {
    text += " at step " + std::to_string(info.step);
  }
  text += ": " + std::to_string(info.parts.size()) + " with " + std::to_string(nodes) + " nodes\n";
  if (!parts.empty()) text += parts.text();
  if (!sums.empty()) text += "\nElements of all parts\n" + sums.text();
  if (!faces.empty()) text += "\nBorder faces\n" + faces.text();
  return text;
}

std::string particleText(const Info& info) {
  if (info.particles.empty()) return "";
  const auto [least, most] = std::ranges::minmax(info.particles);
  std::string text = "\nMeasured particles: " + std::to_string(least);
  if (most != least) text += " to " + std::to_string(most);
  return text + "\n";
}

std::string variableTables(const Info& info) {
  TextTable arrays({">#", "name", "type", ">components", "location", "complex", "of", ">time set",
                    ">steps", "description"});
  TextTable constants({">#", "name", ">time set", ">steps", ">first value", ">last value"});
  for (std::size_t i = 0; i < info.contents.variables.size(); ++i) {
    const Variable& variable = info.contents.variables[i];
    const std::string timeSet = variable.isTransient ? std::to_string(variable.timeSet) : "-";
    if (variable.isConstant) {
      const auto& values = info.constants[i];
      constants.row({std::to_string(i), shownText(variable.name), timeSet,
                     std::to_string(variable.steps),
                     values.empty() ? "-" : numberText(values.front()),
                     values.empty() ? "-" : numberText(values.back())});
      continue;
    }
    std::string complexText = "no";
    if (variable.isComplex) {
      complexText = "frequency " + numberText(variable.frequency);
      if (!variable.imaginaryDescription.empty()) {
        complexText += ", " + shownText(variable.imaginaryDescription);
      }
    }
    arrays.row({std::to_string(i), shownText(variable.name), typeName(variable),
                std::to_string(variable.components()), locationName(variable), complexText,
                variable.isMeasured ? "particles" : "model", timeSet,
                std::to_string(variable.steps), shownText(variable.description)});
  }
  std::string text = "\nVariables";
  text += arrays.empty() ? ": none\n" : "\n" + arrays.text();
  if (!constants.empty()) text += "\nConstants\n" + constants.text();
  return text;
}

}  // namespace

std::string typeName(const Variable& variable) {
  switch (variable.type) {
    case 1:
      return "scalar";
    case 2:
      return "vector";
    case 3:
      return "symmetric tensor";
    case 4:
      return "tensor";
    default:
      return "type " + std::to_string(variable.type);
  }
}

std::string locationName(const Variable& variable) {
  if (variable.location == Variable::kPerNode) return "node";
  if (variable.location == Variable::kPerElement) return "element";
  return "location " + std::to_string(variable.location);
}

std::string adaptivityName(Adaptivity adaptivity) {
  switch (adaptivity) {
    case Adaptivity::absent:
      return "none";
    case Adaptivity::fixed:
      return "static";
    case Adaptivity::coordinates:
      return "coordinates change";
    default:
      return "connectivity changes";
  }
}

Info readInfo(const std::string& path, int step) {
  Info info;
  info.path = path;
  info.step = step;
  info.contents = readContents();
  info.release = textOf(&mxg_get_reader_release);
  const Contents& contents = info.contents;
  if (contents.model.isPresent() && step >= contents.model.steps) {
    info.contents.problems.push_back("There is no step " + std::to_string(step) +
                                     ": the model has " + std::to_string(contents.model.steps));
  } else {
    attempt(info, "Parts", [&] { info.parts = readParts(contents, step); });
    attempt(info, "Box", [&] { info.box = readBox(contents, step); });
  }
  attempt(info, "Measured particles", [&] {
    const Geometry& measured = contents.measured;
    if (!measured.isPresent()) return;
    const int states = measured.stateAt(measured.steps - 1) + 1;
    for (int state = 0; state < states; ++state) {
      info.particles.push_back(readParticleCount(state));
    }
  });
  info.constants.resize(contents.variables.size());
  for (std::size_t i = 0; i < contents.variables.size(); ++i) {
    const Variable& variable = contents.variables[i];
    if (!variable.isConstant) continue;
    attempt(info, "Constant " + shownText(variable.name), [&] {
      for (int k = 0; k < variable.steps; ++k) {
        info.constants[i].push_back(readConstant(static_cast<int>(i), k));
      }
    });
  }
  return info;
}

std::string infoText(const Info& info) {
  std::string text = "File      " + shownText(info.path) + "\n";
  text += "Library   " + info.release + "\n";
  text += "Model     " + geometryText(info.contents.model) + "\n";
  text += "Particles " + geometryText(info.contents.measured) + "\n";
  text += "Box       " + boxText(info.box) + "\n";
  return text + timeSetTables(info.contents) + partTables(info) + particleText(info) +
         variableTables(info);
}

}  // namespace morvex::tools

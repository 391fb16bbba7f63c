#include "commands/info.hpp"

#include <algorithm>
#include <array>
#include <memory>

#include "commands/command.hpp"
#include "common/element_kinds.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"
#include "picture/render.hpp"
#include "picture/scene.hpp"

namespace morvex::tools {
namespace {

/// For example "hexahedron8 512, n-sided 3"; "-" for a part without elements.
std::string elementsText(const std::uint64_t (&counts)[MORVEX_ELEMENT_TYPES]) {
  std::string text;
  for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
    if (counts[type] == 0) continue;
    if (!text.empty()) text += ", ";
    text += elementName(type) + " " + std::to_string(counts[type]);
  }
  return text.empty() ? "-" : text;
}

/// "unstructured", or for example "block 4x4x2", the nodes along i, j and k.
std::string partShape(const morvex_part& part) {
  if (part.is_block == 0) return "unstructured";
  std::string text = "block ";
  for (std::size_t axis = 0; axis < 3; ++axis) {
    text += (axis == 0 ? "" : "x") + std::to_string(part.extents[axis]);
  }
  return text;
}

/// How a geometry changes, with its steps and time set unless it is static.
std::string geometryText(const morvex_geometry& geometry) {
  std::string text = changeName(geometry);
  if (geometry.change > MORVEX_STATIC) {
    text += ", " + std::to_string(geometry.steps) + " steps";
    if (geometry.timeset >= 0) text += " of time set " + std::to_string(geometry.timeset);
  }
  return text;
}

/// One line for each axis: six numbers with all their digits may need 100 columns.
std::string boxText(const std::optional<std::array<float, 6>>& box) {
  if (!box) return "not given";
  std::string text;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    text += std::string(axis == 0 ? "" : "\n          ") + "xyz"[axis] + " " +
            numberText((*box)[axis]) + " to " + numberText((*box)[axis + 3]);
  }
  return text;
}

/// The library reports -1 for a variable without a time set, which has one step.
std::string timesetText(const morvex_variable& variable) {
  return variable.timeset < 0 ? "-" : std::to_string(variable.timeset);
}

/// First and last time of each set; the JSON form has the others.
std::string timeSetTables(const Contents& contents) {
  TextTable table({">set", ">steps", ">first time", ">last time"});
  for (std::size_t set = 0; set < contents.timesets.size(); ++set) {
    const auto& times = contents.timesets[set];
    table.row({std::to_string(set), std::to_string(times.size()),
               times.empty() ? "-" : numberText(times.front()),
               times.empty() ? "-" : numberText(times.back())});
  }
  return table.empty() ? "\nTime sets: none, one step\n" : "\nTime sets\n" + table.text();
}

/// Parts, then the sum of each element type, then border faces. Faces have a table of their own: few
/// parts have any, and a column would be empty in most files.
std::string partTables(const Info& info, std::size_t width) {
  TextTable parts({">part", ">id", "name", "shape", ">nodes", "elements"});
  TextTable faces({">part", "border faces"});
  // Sums over the parts that are shown.
  std::array<std::uint64_t, MORVEX_ELEMENT_TYPES> totals{};
  std::uint64_t nodes = 0;
  for (const auto& [number, part] : info.parts) {
    nodes += part.nodes;
    for (std::size_t type = 0; type < totals.size(); ++type) {
      totals[type] += part.elements[type];
    }
    parts.row({std::to_string(number), std::to_string(part.id), shownText(part.name),
               partShape(part), std::to_string(part.nodes), elementsText(part.elements)});
    if (std::ranges::any_of(part.border_faces, [](auto count) { return count != 0; })) {
      faces.row({std::to_string(number), elementsText(part.border_faces)});
    }
  }
  // With the number that hosts and dataset paths use for a type.
  TextTable sums({">type", "element", ">count"});
  for (std::size_t type = 0; type < totals.size(); ++type) {
    if (totals[type] == 0) continue;
    sums.row(
        {std::to_string(type), elementName(static_cast<int>(type)), std::to_string(totals[type])});
  }
  std::string text = "\nParts";
  // Other models have the same parts at all steps.
  if (info.contents.summary.model.change == MORVEX_CONNECTIVITY_CHANGES) {
    text += " at step " + std::to_string(info.step);
  }
  text += ": " + std::to_string(info.parts.size()) + " with " + std::to_string(nodes) + " nodes\n";
  if (!parts.empty()) text += parts.text(width);
  if (!sums.empty()) text += "\nElements of all parts\n" + sums.text();
  if (!faces.empty()) text += "\nBorder faces\n" + faces.text(width);
  return text;
}

/// The number of particles, as a range over all steps where it changes; empty without particles.
std::string particleText(const Info& info) {
  if (info.particles.empty()) return "";
  const auto [least, most] = std::ranges::minmax(info.particles);
  std::string text = "\nMeasured particles: " + std::to_string(least);
  if (most != least) text += " to " + std::to_string(most);
  return text + "\n";
}

std::string variableTables(const Info& info, std::size_t width) {
  // Few columns, so that names stay whole in 80 columns: a type implies its components.
  TextTable arrays({">#", "name", "type", "location", ">set", ">steps", "description"});
  TextTable complexes({">#", "name", "imaginary part", ">frequency"});
  TextTable constants({">#", "name", ">set", ">steps", ">first value", ">last value"});
  for (const auto& [number, variable, values, ranges] : info.variables) {
    if (variable.is_constant != 0) {
      constants.row({std::to_string(number), shownText(variable.name), timesetText(variable),
                     std::to_string(variable.steps),
                     values.empty() ? "-" : numberText(values.front()),
                     values.empty() ? "-" : numberText(values.back())});
      continue;
    }
    const std::string name = shownText(variable.name);
    const std::string description = shownText(variable.description);
    arrays.row({std::to_string(number), name, typeName(variable),
                variable.on_particles != 0 ? "particle" : locationName(variable),
                timesetText(variable), std::to_string(variable.steps),
                description == name ? "" : description});  // solvers often repeat the name
    if (variable.is_complex != 0) {
      complexes.row({std::to_string(number), name, shownText(variable.imaginary_name),
                     numberText(variable.frequency)});
    }
  }
  std::string text = "\nVariables";
  text += arrays.empty() ? ": none\n" : "\n" + arrays.text(width);
  if (!complexes.empty()) text += "\nComplex variables\n" + complexes.text(width);
  if (!constants.empty()) text += "\nConstants\n" + constants.text(width);
  return text;
}

/// As typed.
struct InfoOptions {
  std::vector<std::string> files;
  Selection selection;
  bool withRanges = false;
  bool asJson = false;
  bool hasPicture = false;
};

/// A picture as wide as the terminal; nothing where standard output is none.
void showPicture(const std::string& path, const File& file, const Selection& selection) {
  constexpr std::size_t kWidest = 120;  // more is slow on some terminals and shows little more
  const std::size_t width = std::min(terminalWidth(), kWidest);
  if (width == 0) return;
  picture::Wish wish;
  wish.selection = selection;
  const picture::Scene scene = picture::readScene(path, file, wish);
  picture::Style style;
  // A pixel is as wide as a column and half as high as a line, so pixels are about square.
  style.size = {static_cast<int>(width), static_cast<int>(width * 5 / 8)};
  style.isPlain = true;
  put("\n" + picture::halfBlocksOf(picture::render(scene, style)));
  if (scene.variable.empty()) return;
  std::string caption = scene.variable + " from " + numberText(scene.range.first) +
                        " (violet) to " + numberText(scene.range.second) + " (yellow)";
  if (scene.isTimed) caption += ", step " + std::to_string(scene.step);
  put(shownText(caption) + "\n");
}

/// Problems are reported after the data: a damaged record doesn't hide the rest.
ExitCode showFile(const std::string& path, const InfoOptions& options, const Common& common) {
  const File file = openFile(path, common.open);
  const Info info = readInfo(path, file, options.selection, options.withRanges, common);
  put(options.asJson ? infoJson(info) : infoText(info, terminalWidth()));
  if (options.hasPicture && !options.asJson) showPicture(path, file, options.selection);
  for (const std::string& problem : info.contents.problems) {
    complain("morvex", path + ": " + problem);
  }
  return info.contents.problems.empty() ? kSuccess : kDataError;
}

}  // namespace

// Unknown types, as a later release may write them, are shown by number.
std::string typeName(const morvex_variable& variable) {
  static constexpr std::array<const char*, 5> kNames{"", "scalar", "vector", "symmetric tensor",
                                                     "tensor"};
  const bool isKnown = variable.type > 0 && variable.type < 5;
  return isKnown ? kNames[static_cast<std::size_t>(variable.type)]
                 : "type " + std::to_string(variable.type);
}

std::string locationName(const morvex_variable& variable) {
  if (variable.location == MORVEX_PER_NODE) return "node";
  if (variable.location == MORVEX_PER_ELEMENT) return "element";
  return "location " + std::to_string(variable.location);
}

std::string changeName(const morvex_geometry& geometry) {
  switch (geometry.change) {
    case MORVEX_ABSENT:
      return "none";
    case MORVEX_STATIC:
      return "static";
    case MORVEX_COORDINATES_CHANGE:
      return "coordinates change";
    default:
      return "connectivity changes";
  }
}

Info readInfo(const std::string& path, const File& file, const Selection& selection,
              bool withRanges, const Common& common) {
  Info info;
  info.path = path;
  info.contents = readContents(file);
  Contents& contents = info.contents;
  const Choice choice(selection, file, contents);
  // A failed question only leaves out its own answer.
  const auto attempt = [&](const std::string& question, const auto& ask) {
    try {
      ask();
    } catch (const Error& failure) {
      contents.problems.push_back(question + ": " + failure.what());
    }
  };
  // Ranges may be of several steps; parts and box are then those of the first.
  // One step of the model can be shown at a time; modelStep() refuses a list.
  info.step = withRanges ? choice.firstModelStep() : choice.modelStep();
  attempt("parts", [&] {
    int number = 0;
    for (const morvex_part& part : readParts(file, info.step)) {
      if (choice.hasPart(number, part.name)) info.parts.push_back({number, part});
      ++number;
    }
  });
  attempt("box", [&] { info.box = file.box(info.step); });
  attempt("particles", [&] {
    const morvex_geometry& particles = contents.summary.particles;
    // One count for all steps unless the particles come and go.
    const int last = stateAt(particles, static_cast<int>(particles.steps) - 1);
    for (int state = 0; particles.steps != 0 && state <= last; ++state) {
      info.particles.push_back(file.particleCount(state));
    }
  });
  for (int i = 0; i < static_cast<int>(contents.variables.size()); ++i) {
    if (!choice.hasVariable(i)) continue;
    const morvex_variable& variable = contents.variables[static_cast<std::size_t>(i)];
    Info::Variable& shown = info.variables.emplace_back(
        Info::Variable{.number = i, .facts = variable, .constants = {}, .ranges = {}});
    if (variable.is_constant == 0) continue;
    attempt(std::string("constant ") + variable.name, [&] {
      for (int step = 0; step < static_cast<int>(variable.steps); ++step) {
        shown.constants.push_back(file.constant(i, step));
      }
    });
  }
  if (withRanges) readRanges(info, file, choice, common);
  return info;
}

std::string infoText(const Info& info, std::size_t width) {
  std::string text = "File      " + shownText(info.path) + "\n";
  text += std::string("Library   ") + morvex_version() + "\n";
  text += "Model     " + geometryText(info.contents.summary.model) + "\n";
  text += "Particles " + geometryText(info.contents.summary.particles) + "\n";
  text += "Box       " + boxText(info.box) + "\n";
  return text + timeSetTables(info.contents) + partTables(info, width) + particleText(info) +
         variableTables(info, width) + rangeTable(info, width);
}

Command addInfo(CLI::App& program, const Common& common) {
  CLI::App* app =
      program.add_subcommand("info", "Time sets, parts and variables, from metadata alone");
  const auto options = std::make_shared<InfoOptions>();
  addFiles(*app, options->files);
  addSelection(*app, options->selection);
  app->add_flag("--ranges", options->withRanges,
                "also the smallest and largest values of the variables, which are decoded for it; "
                "by step with --step or --time");
  addJson(*app, options->asJson);
  app->add_flag("--picture", options->hasPicture,
                "a small picture of the model as well, on terminals with 24-bit colours");
  app->footer("Examples:\n  morvex info crash.mvx\n  morvex info --ranges --step -1 crash.mvx");
  return {app, [options, &common] {
            return forEachFile(options->files, [&](const std::string& path) {
              return showFile(path, *options, common);
            });
          }};
}

}  // namespace morvex::tools

#include "common/array_list.hpp"

#include <algorithm>
#include <set>

#include "common/element_kinds.hpp"
#include "common/exit_codes.hpp"

namespace morvex::tools {
namespace {

/// Lists the model's arrays at a step: coordinates at each, all else if the step has its own state.
class ModelArrays {
 public:
  ModelArrays(int step, bool hasState) : step_(step), hasState_(hasState) {}

  void add(int index, const morvex_part& part) {
    part_ = index;
    const bool isBlock = part.is_block != 0;
    for (int axis = 0; part.nodes != 0 && axis < 3; ++axis) {
      push(isBlock ? ArrayKind::kBlockCoordinates : ArrayKind::kCoordinates, MORVEX_COORDINATES)
          .component = axis;
    }
    if (!hasState_ || isBlock) return;  // a block's elements follow from its extents
    for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
      if (part.elements[type] != 0) addElements(type);
    }
    for (int type = 0; type < kNSided; ++type) {
      if (part.border_faces[type] == 0) continue;
      push(ArrayKind::kBorderFaces, MORVEX_BORDER_FACES, type);
      push(ArrayKind::kBorderFaces, MORVEX_BORDER_PARENT_IDS, type);
      push(ArrayKind::kBorderFaces, MORVEX_BORDER_PARENT_TYPES, type);
    }
  }

  [[nodiscard]] std::vector<ArrayId> take() { return std::move(arrays_); }

 private:
  /// Tables before the connectivity that they cut into elements.
  void addElements(int type) {
    if (type < kNSided) {
      push(ArrayKind::kConnectivity, MORVEX_CONNECTIVITY, type);
    } else if (type == kNSided) {
      push(ArrayKind::kPolygons, MORVEX_NODES_PER_POLYGON);
      push(ArrayKind::kPolygons, MORVEX_CONNECTIVITY, type);
    } else if (type == kNFaced) {
      push(ArrayKind::kPolyhedra, MORVEX_FACES_PER_POLYHEDRON);
      push(ArrayKind::kPolyhedra, MORVEX_NODES_PER_FACE);
      push(ArrayKind::kPolyhedra, MORVEX_CONNECTIVITY, type);
    }  // files have no nodes of their ghosts
  }

  /// Returns the new request, valid until the next call, for fields of one kind alone.
  morvex_request& push(ArrayKind kind, morvex_kind asked, int type = 0) {
    arrays_.push_back({kind, request(asked, step_, part_)});
    morvex_request& made = arrays_.back().request;
    made.element_type = type;
    return made;
  }

  int step_;
  bool hasState_;
  int part_ = 0;
  std::vector<ArrayId> arrays_;
};

/// Adds an array for each component of a variable, the imaginary part after the real one. `made` names
/// variable, step, part and element type.
void addComponents(const morvex_variable& variable, morvex_request made,
                   std::vector<ArrayId>& arrays) {
  // A variable of a type without a known number of components has at least the first.
  for (int component = 0; component < std::max(1, variable.components); ++component) {
    made.component = component;
    for (const int imaginary : {0, 1}) {
      if (imaginary > variable.is_complex) continue;
      made.imaginary = imaginary;
      arrays.push_back({ArrayKind::kVariables, made});
    }
  }
}

/// Whether a kind is what the text calls it: by its whole name, or by its last word for all kinds of
/// coordinates, tables or faces.
bool isKind(std::string_view text, ArrayKind kind) {
  const std::string_view name = kindName(kind);
  return name == text || name.ends_with(" " + std::string(text));
}

}  // namespace

const char* kindName(ArrayKind kind) {
  static constexpr std::array<const char*, kArrayKinds> kNames{
      "coordinates",  "block coordinates", "connectivity", "n-sided tables", "n-faced tables",
      "border faces", "particles",         "variables",    "constants"};
  return kNames.at(static_cast<std::size_t>(kind));
}

std::string pathOf(const File& file, const ArrayId& array) {
  if (array.kind == ArrayKind::kConstants) {
    return std::string("/variable/") + file.variable(array.request.variable).name + "/" +
           std::to_string(array.request.step);
  }
  std::uint64_t needed = 0;
  check(morvex_get_path(file.handle(), &array.request, 0, nullptr, 0, &needed));
  std::string path(static_cast<std::size_t>(needed), '\0');
  check(morvex_get_path(file.handle(), &array.request, 0, path.data(), needed, &needed));
  path.pop_back();  // its zero
  return path;
}

std::string placeOf(const File& file, const ArrayId& array) {
  try {
    return pathOf(file, array);
  } catch (const Error&) {
    return "step " + std::to_string(array.request.step) + ", part " +
           std::to_string(array.request.part);
  }
}

ArraySize sizeOf(const File& file, const ArrayId& array) {
  ArraySize size{.count = 1, .valueBytes = sizeof(float)};
  if (array.kind == ArrayKind::kConstants) return size;
  check(morvex_get_size(file.handle(), &array.request, &size.count, &size.valueBytes));
  return size;
}

std::vector<Section> ArrayList::sections() const {
  std::vector<Section> sections = allSections();
  // Spares building the paths of arrays that can't be meant.
  std::erase_if(sections, [this](const Section& section) { return !mayHaveNamed(section); });
  return sections;
}

std::vector<Section> ArrayList::allSections() const {
  std::vector<Section> sections;
  const auto add = [&](Section::Of of, int variable, int timeset, std::uint64_t steps) {
    for (const int step : choice_.steps(timeset, steps)) {
      sections.push_back({.of = of, .variable = variable, .step = step});
    }
  };
  const auto& [model, particles] = std::pair(contents_.summary.model, contents_.summary.particles);
  if (!choice_.namesVariables()) {
    add(Section::Of::kModel, -1, model.timeset, model.steps);
    if (!choice_.namesParts()) {
      add(Section::Of::kParticles, -1, particles.timeset, particles.steps);
    }
  }
  for (int i = 0; i < static_cast<int>(contents_.variables.size()); ++i) {
    const morvex_variable& variable = contents_.variables[static_cast<std::size_t>(i)];
    if (!choice_.hasVariable(i)) continue;
    const bool hasNoPart = variable.is_constant != 0 || variable.on_particles != 0;
    if (hasNoPart && choice_.namesParts()) continue;
    add(Section::Of::kVariable, i, variable.timeset, variable.steps);
  }
  return sections;
}

bool ArrayList::mayHaveNamed(const Section& section) const {
  if (choice_.arrays().empty()) return true;
  const std::string group = nameOf(section) + "/";
  return std::ranges::any_of(choice_.arrays(), [&](const std::string& text) {
    if (!text.starts_with('/')) return true;
    // Up to here the path is that of the array. What does not change is stored with its first step.
    const std::string plain = text.substr(0, text.find_first_of("*?[\\"));
    if (section.of != Section::Of::kVariable) return !plain.starts_with("/variable/");
    return group.starts_with(plain) || plain.starts_with(group.substr(0, group.size() - 1));
  });
}

std::vector<ArrayId> ArrayList::arraysOf(const Section& section) {
  std::vector<ArrayId> arrays = allArraysOf(section);
  // Several texts may name one array; each counts as found.
  if (choice_.arrays().empty()) return arrays;
  std::erase_if(arrays, [&](const ArrayId& array) {
    const std::string path = pathOf(file_, array);
    bool isNamed = false;
    for (std::size_t i = 0; i < isFound_.size(); ++i) {
      const std::string& text = choice_.arrays()[i];
      if (!isKind(text, array.kind) && !fitsName(text, path)) continue;
      isNamed = true;
      isFound_[i] = true;
    }
    return !isNamed;
  });
  return arrays;
}

void ArrayList::requireNamed() {
  const auto missing = std::ranges::find(isFound_, false);
  if (missing == isFound_.end()) return;
  const std::string& text = choice_.arrays()[static_cast<std::size_t>(missing - isFound_.begin())];
  // Enough to find a similar path; all paths of a large file would take longer than is polite.
  constexpr std::size_t kMostCandidates = 20'000;
  std::set<std::string> names;
  for (const Section& section : allSections()) {
    if (names.size() > kMostCandidates) break;
    for (const ArrayId& array : allArraysOf(section)) {
      names.insert(kindName(array.kind));
      names.insert(pathOf(file_, array));
    }
  }
  throw Failure(kUsageError, "there is no array '" + text + "'" +
                                 suggestion(text, {names.begin(), names.end()}));
}

std::vector<ArrayId> ArrayList::allArraysOf(const Section& section) {
  if (section.of == Section::Of::kVariable) return variableArrays(section);
  if (section.of == Section::Of::kParticles) {
    std::vector<ArrayId> arrays;
    if (file_.particleCount(section.step) == 0) return arrays;
    for (int axis = 0; axis < 3; ++axis) {
      arrays.push_back({ArrayKind::kParticles, request(MORVEX_PARTICLE_COORDINATES, section.step)});
      arrays.back().request.component = axis;
    }
    return arrays;
  }
  // Of a model whose coordinates change all else is stored once: listed with the first chosen step.
  const morvex_geometry& model = contents_.summary.model;
  // The first chosen step stands for all of them, also where the user leaves out step 0.
  const bool hasState = model.change == MORVEX_CONNECTIVITY_CHANGES ||
                        section.step == choice_.steps(model.timeset, model.steps).front();
  ModelArrays arrays(section.step, hasState);
  const std::vector<morvex_part>& all = parts(section.step);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const int part = static_cast<int>(i);
    if (choice_.hasPart(part, all[i].name)) arrays.add(part, all[i]);
  }
  return arrays.take();
}

std::vector<ArrayId> ArrayList::variableArrays(const Section& section) {
  const morvex_variable& variable =
      contents_.variables.at(static_cast<std::size_t>(section.variable));
  std::vector<ArrayId> arrays;
  morvex_request made = variableRequest(section.variable, section.step);
  if (variable.is_constant != 0) return {{ArrayKind::kConstants, made}};
  std::int32_t geometryStep = 0;
  check(morvex_get_geometry_step(file_.handle(), section.variable, section.step, &geometryStep));
  if (variable.on_particles != 0) {
    if (file_.particleCount(geometryStep) != 0) addComponents(variable, made, arrays);
    return arrays;
  }
  const std::vector<morvex_part>& all = parts(geometryStep);
  for (std::size_t i = 0; i < all.size(); ++i) {
    made.part = static_cast<int>(i);
    if (!choice_.hasPart(made.part, all[i].name)) continue;
    made.element_type = 0;
    // Blocks have values per node, whatever the location.
    if (all[i].is_block != 0 || variable.location == MORVEX_PER_NODE) {
      if (all[i].nodes != 0) addComponents(variable, made, arrays);
    } else if (variable.location == MORVEX_PER_ELEMENT) {
      for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
        made.element_type = type;
        if (all[i].elements[type] != 0) addComponents(variable, made, arrays);
      }
    }
  }
  // The variable may be defined on some parts alone.
  std::erase_if(arrays, [&](const ArrayId& array) {
    std::uint64_t count = 0;
    return morvex_get_size(file_.handle(), &array.request, &count, nullptr) == MORVEX_NOT_DEFINED;
  });
  return arrays;
}

std::string ArrayList::nameOf(const Section& section) const {
  const std::string step = "/" + std::to_string(section.step);
  if (section.of == Section::Of::kModel) return "/geometry/0" + step;
  if (section.of == Section::Of::kParticles) return "/geometry/1" + step;
  return std::string("/variable/") +
         contents_.variables.at(static_cast<std::size_t>(section.variable)).name + step;
}

}  // namespace morvex::tools

#include "array_list.hpp"

#include <algorithm>

namespace morvex::tools {
namespace {

/// Lists what the model has at a step: coordinates at each, all else where a state of its own is.
class ModelArrays {
 public:
  ModelArrays(int step, bool hasState) : step_(step), hasState_(hasState) {}

  void add(int index, const Part& part) {
    part_ = index;
    if (part.nodes != 0) {
      push(part.isBlock() ? ArrayKind::blockCoordinates : ArrayKind::coordinates);
    }
    if (!hasState_ || part.isBlock()) return;
    for (int type = 0; type < MXG_ELEMENT_TYPES; ++type) {
      if (part.elements[static_cast<std::size_t>(type)] != 0) addElements(type);
    }
    for (int type = 0; type < kNSided; ++type) {
      if (part.borderFaces[static_cast<std::size_t>(type)] != 0) push(ArrayKind::borderFaces, type);
    }
  }

  [[nodiscard]] std::vector<ArrayId> take() { return std::move(arrays_); }

 private:
  void addElements(int type) {
    if (type < kNSided) {
      push(ArrayKind::connectivity, type);
    } else if (type == kNSided) {
      for (const int table : {0, 1}) push(ArrayKind::polygons, type, table);
    } else if (type == kNFaced) {
      for (const int table : {0, 1, 2}) push(ArrayKind::polyhedra, type, table);
    }  // the library has no question for the nodes of their ghosts
  }

  void push(ArrayKind kind, int type = -1, int table = 0) {
    arrays_.push_back(
        {.kind = kind, .step = step_, .part = part_, .elementType = type, .component = table});
  }

  int step_;
  bool hasState_;
  int part_ = 0;
  std::vector<ArrayId> arrays_;
};

void addComponents(const Variable& variable, ArrayId array, std::vector<ArrayId>& arrays) {
  // A type that the library knows no size for has a first component at least.
  const int components = std::max(1, variable.components());
  for (int component = 0; component < components; ++component) {
    array.component = component;
    for (const bool isImaginary : {false, true}) {
      if (isImaginary && !variable.isComplex) continue;
      array.isImaginary = isImaginary;
      arrays.push_back(array);
    }
  }
}

std::vector<ArrayId> variableArrays(const Contents& contents, const Section& section,
                                    ArrayReader& reader) {
  const Variable& variable = contents.variables.at(static_cast<std::size_t>(section.variable));
  std::vector<ArrayId> arrays;
  ArrayId array{.kind = ArrayKind::variables, .step = section.step, .variable = section.variable};
  if (variable.isConstant) {
    array.kind = ArrayKind::constants;
    return {array};
  }
  const int geometryStep = reader.geometryStep(variable, section.step);
  if (variable.isMeasured) {
    if (readParticleCount(geometryStep) != 0) addComponents(variable, array, arrays);
    return arrays;
  }
  const std::vector<Part>& parts = reader.parts(geometryStep);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    array.part = static_cast<int>(i);
    array.elementType = -1;
    if (parts[i].isBlock() || variable.location == Variable::kPerNode) {
      if (parts[i].nodes != 0) addComponents(variable, array, arrays);
    } else if (variable.location == Variable::kPerElement) {
      for (int type = 0; type < MXG_ELEMENT_TYPES; ++type) {
        array.elementType = type;
        if (parts[i].elements[static_cast<std::size_t>(type)] != 0) {
          addComponents(variable, array, arrays);
        }
      }
    }
  }
  return arrays;
}

/// Whether the first array that the variable has at a step is absent from the file.
bool isAbsent(const Contents& contents, int variable, int step, ArrayReader& reader) {
  const Section section{.of = Section::Of::variable, .variable = variable, .step = step};
  try {
    for (const ArrayId& array : arraysOf(contents, section, reader)) {
      if (!reader.read(array).empty()) return false;
    }
  } catch (const ReadFailure& failure) {
    return failure.code() == MXG_NO_SUCH_DATA;
  }
  return false;
}

}  // namespace

void settleStaticVariables(Contents& contents, ArrayReader& reader) {
  for (std::size_t i = 0; i < contents.variables.size(); ++i) {
    Variable& variable = contents.variables[i];
    if (variable.isConstant || variable.timeSet != 0 || variable.steps < 2) continue;
    const int index = static_cast<int>(i);
    if (isAbsent(contents, index, 1, reader) &&
        isAbsent(contents, index, variable.steps - 1, reader) &&
        !isAbsent(contents, index, 0, reader)) {
      variable.isTransient = false;
      variable.steps = 1;
    }
  }
}

std::vector<Section> sectionsOf(const Contents& contents) {
  std::vector<Section> sections;
  for (int step = 0; step < contents.model.steps; ++step) {
    sections.push_back({.of = Section::Of::model, .step = step});
  }
  for (int step = 0; step < contents.measured.steps; ++step) {
    sections.push_back({.of = Section::Of::particles, .step = step});
  }
  for (std::size_t i = 0; i < contents.variables.size(); ++i) {
    for (int step = 0; step < contents.variables[i].steps; ++step) {
      sections.push_back(
          {.of = Section::Of::variable, .variable = static_cast<int>(i), .step = step});
    }
  }
  return sections;
}

std::vector<ArrayId> arraysOf(const Contents& contents, const Section& section,
                              ArrayReader& reader) {
  if (section.of == Section::Of::variable) return variableArrays(contents, section, reader);
  if (section.of == Section::Of::particles) {
    if (readParticleCount(section.step) == 0) return {};
    return {{.kind = ArrayKind::particles, .step = section.step}};
  }
  const bool hasState = contents.model.stateAt(section.step) == section.step;
  ModelArrays arrays(section.step, hasState);
  const std::vector<Part>& parts = reader.parts(section.step);
  for (std::size_t i = 0; i < parts.size(); ++i) arrays.add(static_cast<int>(i), parts[i]);
  return arrays.take();
}

}  // namespace morvex::tools

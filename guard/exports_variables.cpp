// Exports about variables.

#include <algorithm>

#include "morvex/morvex_ensg.h"
#include "reading.hpp"

using namespace morvex::guard;

namespace {

constexpr std::int32_t kPerElement = 1;
constexpr std::int32_t kPerNode = 4;

/// One component of a variable on a part.
struct Component {
  std::int32_t step;
  std::int32_t geometryStep;
  std::int32_t variable;
  std::int32_t part;
  std::int32_t elementType;
  bool isImaginary;
  std::int32_t component;
};

/// Of a type; nothing for one that no number is known for, which the library refuses.
std::optional<std::uint64_t> componentsOf(std::int32_t type) {
  static constexpr std::array<std::uint64_t, 5> kComponents{0, 1, 3, 6, 9};
  if (type < 1 || type > 4) return std::nullopt;
  return kComponents[static_cast<std::size_t>(type)];
}

void checkComponent(Facts& facts, const mxg_variable& variable, const Component& asked) {
  if (variable.is_constant != 0) refuse(MXG_WRONG_KIND, "the variable is a constant");
  requireIndex(asked.step, facts.variableSteps(variable), "step");
  if (const auto components = componentsOf(variable.type)) {
    requireIndex(asked.component, *components, "component");
  }
  if (asked.isImaginary && variable.is_complex == 0) {
    refuse(MXG_WRONG_KIND, "the variable is not complex");
  }
  if (variable.geometry != MXG_MODEL && variable.geometry != MXG_PARTICLES) {
    refuse(MXG_WRONG_KIND, "geometry " + std::to_string(variable.geometry) + " is unknown");
  }
}

/// How many values the library writes, in the state of the variable's geometry, and of which
/// element type; -1 for values that are not per element.
struct Extent {
  std::uint64_t size;
  std::int32_t elementType;
};

Extent extentOnParticles(Facts& facts, const mxg_variable& variable, std::int32_t state,
                         std::int32_t part) {
  requireIndex(part, 1, "part of the particles");
  // The library doesn't tell how many elements the particles have.
  if (variable.location == kPerElement) {
    refuse(MXG_WRONG_KIND, "values per element of particles can't be asked for");
  }
  return {facts.particles(state), -1};
}

Extent extentOnModel(Facts& facts, const mxg_variable& variable, std::int32_t state,
                     const Component& asked) {
  const mxg_part& part = facts.part(state, asked.part);
  if (part.type != 0 || variable.location == kPerNode) return {countable(part.nodes), -1};
  if (variable.location != kPerElement) return {0, -1};
  requireIndex(asked.elementType, MXG_ELEMENT_TYPES, "element type");
  return {countable(part.elements[asked.elementType]), asked.elementType};
}

std::string datasetName(const Component& asked, std::int32_t elementType) {
  return (elementType < 0 ? "" : std::to_string(elementType) + "_") +
         std::to_string(asked.component) + (asked.isImaginary ? "_data_imag" : "_data");
}

void readComponent(Call& call, Facts& facts, const Component& asked, float* values,
                   std::uint64_t capacity, std::uint64_t* count) {
  const mxg_variable& variable = facts.variable(asked.variable);
  checkComponent(facts, variable, asked);
  const std::int32_t state = facts.state(variable.geometry, asked.geometryStep);
  const Extent extent = variable.geometry == MXG_PARTICLES
                            ? extentOnParticles(facts, variable, state, asked.part)
                            : extentOnModel(facts, variable, state, asked);
  const std::string& name =
      facts.variables().texts[MXG_NAME][static_cast<std::size_t>(asked.variable)];
  nameDatasets(
      call,
      "/variable/" + name + "/" + std::to_string(asked.step) + "/" + std::to_string(asked.part),
      {datasetName(asked, extent.elementType)});
  if (!wantsValues(values, capacity, extent.size, count)) return;
  *count = 0;  // until it is known that the variable is defined here
  readDatasets(call, {targetOf(values, extent.size)}, [&] {
    return MX_getVariableByComponent(asked.step, state, asked.variable, asked.part, variable.type,
                                     std::max(0, extent.elementType), asked.isImaginary ? 1 : 0,
                                     asked.component, values);
  });
  *count = extent.size;
}

}  // namespace

mxg_code mxg_get_number_of_variables(uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(count, "count");
    *count = facts.variables().variables.size();
  });
}

mxg_code mxg_get_variable_geo_type(int32_t variable, int32_t* geometry) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(geometry, "geometry");
    *geometry = facts.variable(variable).geometry;
  });
}

mxg_code mxg_get_variable_information(mxg_variable* variables, uint64_t capacity, uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    const auto& stored = facts.variables().variables;
    if (wantsValues(variables, capacity, stored.size(), count)) {
      std::ranges::copy(stored, variables);
    }
  });
}

mxg_code mxg_get_variable_text(int32_t variable, mxg_text which, char* text, uint64_t capacity,
                               uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    (void)facts.variable(variable);
    const auto& texts = facts.variables().texts;
    requireIndex(static_cast<std::int32_t>(which), texts.size(), "text");
    giveText(texts[static_cast<std::size_t>(which)][static_cast<std::size_t>(variable)], text,
             capacity, count);
  });
}

mxg_code mxg_get_variable_by_component(int32_t step, int32_t geometry_step, int32_t variable,
                                       int32_t part, int32_t element_type, int32_t imaginary,
                                       int32_t component, float* values, uint64_t capacity,
                                       uint64_t* count) {
  return answer({step, part}, [&](Call& call, Facts& facts) {
    const Component asked{step,         geometry_step,  variable, part,
                          element_type, imaginary != 0, component};
    readComponent(call, facts, asked, values, capacity, count);
  });
}

mxg_code mxg_get_constant_value(int32_t step, int32_t variable, float* real, float* imaginary) {
  return answer({step}, [&](Call& call, Facts& facts) {
    requirePointer(real, "real");
    requirePointer(imaginary, "imaginary");
    const mxg_variable& asked = facts.variable(variable);
    if (asked.is_constant == 0) refuse(MXG_WRONG_KIND, "the variable is no constant");
    requireIndex(step, facts.variableSteps(asked), "step");
    nameDatasets(
        call, "/variable/" + facts.variables().texts[MXG_NAME][static_cast<std::size_t>(variable)],
        {std::to_string(step)});
    requireAnswered(MX_getConstantValue(step, variable, real, imaginary));
  });
}

// The JSON form of `morvex info`.

#include <nlohmann/json.hpp>

#include "info.hpp"

namespace morvex::tools {
namespace {

using Json = nlohmann::ordered_json;

/// Counts by the name of the type, those that are not 0.
Json countsJson(const ElementCounts& counts) {
  Json object = Json::object();
  for (int type = 0; type < MXG_ELEMENT_TYPES; ++type) {
    const std::uint64_t count = counts[static_cast<std::size_t>(type)];
    if (count != 0) object[elementName(type)] = count;
  }
  return object;
}

Json geometryJson(const Geometry& geometry) {
  if (!geometry.isPresent()) return nullptr;
  return {{"adaptivity", adaptivityName(geometry.adaptivity)},
          {"timeSet", geometry.timeSet},
          {"steps", geometry.steps}};
}

Json boxJson(const std::optional<Box>& box) {
  if (!box) return nullptr;
  return {{"low", box->low}, {"high", box->high}};
}

Json partJson(const Part& part) {
  Json object{{"id", part.id},
              {"name", part.name},
              {"type", part.type},
              {"nodes", part.nodes},
              {"elements", countsJson(part.elements)},
              {"borderFaces", countsJson(part.borderFaces)}};
  if (part.isBlock()) object["extents"] = part.extents;
  return object;
}

Json variableJson(const Variable& variable, const std::vector<float>& constants) {
  Json object{{"name", variable.name},
              {"description", variable.description},
              {"type", typeName(variable)},
              {"components", variable.components()},
              {"location", locationName(variable)},
              {"complex", variable.isComplex}};
  if (variable.isComplex) {
    object["imaginaryDescription"] = variable.imaginaryDescription;
    object["frequency"] = variable.frequency;
  }
  object["of"] = variable.isMeasured ? "particles" : "model";
  object["timeSet"] = variable.isTransient ? Json(variable.timeSet) : Json(nullptr);
  object["steps"] = variable.steps;
  object["constant"] = variable.isConstant;
  if (variable.isConstant) object["values"] = constants;
  return object;
}

}  // namespace

std::string infoJson(const Info& info) {
  const Contents& contents = info.contents;
  Json object{{"file", info.path},
              {"library", info.release},
              {"timeSets", contents.timeSets},
              {"model", geometryJson(contents.model)},
              {"particles", geometryJson(contents.measured)},
              {"particleCounts", info.particles},
              {"step", info.step},
              {"box", boxJson(info.box)},
              {"parts", Json::array()},
              {"variables", Json::array()},
              {"problems", contents.problems}};
  for (const Part& part : info.parts) object["parts"].push_back(partJson(part));
  for (std::size_t i = 0; i < contents.variables.size(); ++i) {
    object["variables"].push_back(variableJson(contents.variables[i], info.constants[i]));
  }
  // Names are bytes of any encoding: what is no UTF-8 is replaced.
  return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace morvex::tools

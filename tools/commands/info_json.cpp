// The JSON form of `morvex info`.

#include <nlohmann/json.hpp>

#include "commands/info.hpp"
#include "common/element_kinds.hpp"

namespace morvex::tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a key changes its meaning or goes; new keys leave it as it is.
constexpr int kSchema = 1;

/// Counts above 0 by the name of the type.
Json countsJson(const std::uint64_t (&counts)[MORVEX_ELEMENT_TYPES]) {
  Json object = Json::object();
  for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
    if (counts[type] != 0) object[elementName(type)] = counts[type];
  }
  return object;
}

/// null for what has no time set: 0 is the number of one.
Json timesetJson(int timeset) {
  return timeset < 0 ? Json(nullptr) : Json(timeset);
}

/// null for a geometry that the file doesn't have.
Json geometryJson(const morvex_geometry& geometry) {
  if (geometry.change == MORVEX_ABSENT) return nullptr;
  return {{"adaptivity", changeName(geometry)},
          {"timeSet", timesetJson(geometry.timeset)},
          {"steps", geometry.steps}};
}

/// null where the file has no box of the step.
Json boxJson(const std::optional<std::array<float, 6>>& box) {
  if (!box) return nullptr;
  const auto& [x0, y0, z0, x1, y1, z1] = *box;
  return {{"low", {x0, y0, z0}}, {"high", {x1, y1, z1}}};
}

Json partJson(const Info::Part& shown) {
  const morvex_part& part = shown.facts;
  Json object{{"number", shown.number},
              {"id", part.id},
              {"name", part.name},
              {"type", part.is_block},
              {"nodes", part.nodes},
              {"elements", countsJson(part.elements)},
              {"borderFaces", countsJson(part.border_faces)}};
  if (part.is_block != 0) object["extents"] = part.extents;
  return object;
}

Json variableJson(const Info::Variable& shown) {
  const morvex_variable& variable = shown.facts;
  Json object{{"number", shown.number},
              {"name", variable.name},
              {"description", variable.description},
              {"type", typeName(variable)},
              {"components", variable.components},
              {"location", locationName(variable)},
              {"complex", variable.is_complex != 0}};
  if (variable.is_complex != 0) {
    object["imaginaryDescription"] = variable.imaginary_name;
    object["frequency"] = variable.frequency;
  }
  object["of"] = variable.on_particles != 0 ? "particles" : "model";
  object["timeSet"] = timesetJson(variable.timeset);
  object["steps"] = variable.steps;
  object["constant"] = variable.is_constant != 0;
  if (variable.is_constant != 0) object["values"] = shown.constants;
  // Only with `--ranges`; a step of null is all steps.
  for (const auto& [key, range] : shown.ranges) {
    object["ranges"].push_back({{"component", key.component},
                                {"imaginary", key.isImaginary},
                                {"step", key.step < 0 ? Json(nullptr) : Json(key.step)},
                                {"min", range.isEmpty() ? Json(nullptr) : Json(range.low)},
                                {"max", range.isEmpty() ? Json(nullptr) : Json(range.high)},
                                {"values", range.count},
                                {"invalid", range.invalid}});
  }
  return object;
}

}  // namespace

std::string infoJson(const Info& info) {
  const Contents& contents = info.contents;
  Json object{{"schema", kSchema},
              {"file", info.path},
              {"library", morvex_version()},
              {"title", contents.summary.title},
              {"timeSets", contents.timesets},
              {"model", geometryJson(contents.summary.model)},
              {"particles", geometryJson(contents.summary.particles)},
              {"particleCounts", info.particles},
              {"step", info.step},
              {"box", boxJson(info.box)},
              {"parts", Json::array()},
              {"variables", Json::array()},
              {"problems", contents.problems}};
  for (const Info::Part& part : info.parts) object["parts"].push_back(partJson(part));
  for (const Info::Variable& variable : info.variables) {
    object["variables"].push_back(variableJson(variable));
  }
  // Names are bytes of any encoding: invalid UTF-8 is replaced.
  return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace morvex::tools

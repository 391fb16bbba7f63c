#include "picture/coloring.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "common/element_kinds.hpp"
#include "common/exit_codes.hpp"
#include "picture/batch.hpp"

namespace morvex::picture {
namespace {

using tools::Failure;
constexpr float kNoValue = std::numeric_limits<float>::quiet_NaN();
constexpr std::string_view kMagnitude = "magnitude";
enum VariableType : int { kScalar = 1, kVector = 2, kSymmetricTensor = 3 };

/// The smaller, the better the picture that a variable makes: scalars need no choice of a
/// component, values per node are smooth, and one half of a complex number says little.
int rankOf(const morvex_variable& variable) {
  return 4 * (variable.is_complex != 0 ? 1 : 0) + 2 * (variable.type == kScalar ? 0 : 1) +
         (variable.location == MORVEX_PER_NODE ? 0 : 1);
}

/// The number at one node or cell, made of all components.
float magnitudeOf(const float* c, int components) {
  if (components == 6) {  // xx, yy, zz, xy, yz, xz
    const float normal = (c[0] - c[1]) * (c[0] - c[1]) + (c[1] - c[2]) * (c[1] - c[2]) +
                         (c[2] - c[0]) * (c[2] - c[0]);
    return std::sqrt(normal / 2 + 3 * (c[3] * c[3] + c[4] * c[4] + c[5] * c[5]));
  }
  float sum = 0;
  for (int i = 0; i < components; ++i) sum += c[i] * c[i];
  return std::sqrt(sum);
}

/// The smallest and the largest number, and whether others are no numbers.
struct Extremes {
  std::pair<float, float> range{INFINITY, -INFINITY};
  bool hasMissing = false;

  void add(float value) {
    if (!std::isfinite(value)) {
      hasMissing = true;
      return;
    }
    range.first = std::min(range.first, value);
    range.second = std::max(range.second, value);
  }
};

/// Of what is drawn: other nodes and elements don't stretch the legend.
Extremes extremesOf(const Scene& scene) {
  Extremes extremes;
  for (const DrawnPart& part : scene.parts) {
    const auto add = [&](std::uint32_t node, std::uint32_t cell) {
      if (part.values.empty()) {
        extremes.hasMissing = true;
      } else {
        extremes.add(part.values[part.isPerNode ? node : cell]);
      }
    };
    const Surface& surface = part.surface;
    for (std::size_t face = 0; face < surface.faceCount(); ++face) {
      for (const std::uint32_t node : surface.face(face)) add(node, surface.cells[face]);
    }
    for (const auto& line : surface.lines) {
      for (const std::uint32_t node : line.nodes) add(node, line.cell);
    }
    for (const auto& point : surface.points) add(point.node, point.cell);
  }
  for (const float value : scene.particleValues) extremes.add(value);
  return extremes;
}

}  // namespace

int nearestStep(const tools::Contents& contents, const morvex_geometry& geometry, float time) {
  // What has no times, or never changes, has one state.
  if (geometry.timeset < 0 || geometry.steps <= 1) return 0;
  const auto& times = contents.timesets.at(static_cast<std::size_t>(geometry.timeset));
  const auto count = std::min(times.size(), static_cast<std::size_t>(geometry.steps));
  const auto nearest = std::min_element(
      times.begin(), times.begin() + static_cast<std::ptrdiff_t>(count),
      [time](float a, float b) { return std::abs(a - time) < std::abs(b - time); });
  return count == 0 ? 0 : static_cast<int>(nearest - times.begin());
}

std::vector<float> reducedValues(const std::vector<float>& values, int components) {
  if (components == 1) return values;
  std::vector<float> reduced(values.size() / static_cast<std::size_t>(components));
  for (std::size_t i = 0; i < reduced.size(); ++i) {
    reduced[i] = magnitudeOf(&values[i * static_cast<std::size_t>(components)], components);
  }
  return reduced;
}

Coloring::Coloring(const File& file, const tools::Contents& contents, const tools::Choice& choice,
                   const Wish& wish)
    : file_(file),
      contents_(contents),
      choice_(choice),
      wish_(wish),
      isChosen_(choice.namesVariables()) {
  if (wish.byPart) return;
  for (int i = 0; i < static_cast<int>(contents.variables.size()); ++i) {
    const morvex_variable& variable = contents.variables[static_cast<std::size_t>(i)];
    if (!choice.hasVariable(i) || variable.is_constant != 0 || variable.components == 0) continue;
    if (isChosen_ || variable.on_particles == 0) candidates_.push_back(i);
  }
  // Named, and none left: the only ones without arrays are constants and unknown types.
  if (isChosen_ && candidates_.empty()) {
    throw Failure(tools::kUsageError, "the variable is a constant, without values to draw");
  }
  if (isChosen_) {
    candidates_.resize(1);  // a pattern takes its first
    // A component that is not there is refused before anything is read.
    (void)componentOf(contents.variables[static_cast<std::size_t>(candidates_[0])]);
  }
  std::ranges::stable_sort(candidates_, {}, [&](int i) {
    return rankOf(contents.variables[static_cast<std::size_t>(i)]);
  });
}

int Coloring::stepOf(int timeset, std::uint64_t count) const {
  const tools::Selection& selection = wish_.selection;
  if (selection.steps.empty() && !selection.time) return static_cast<int>(count) - 1;
  const std::vector<int> steps = choice_.steps(timeset, count);
  if (steps.size() == 1) return steps.front();
  throw Failure(tools::kUsageError, steps.empty()
                                        ? "there is no step " + selection.steps +
                                              ": the last one is " + std::to_string(count - 1)
                                        : "a picture shows one step");
}

StepChoice Coloring::chooseStep() const {
  StepChoice chosen;
  int timeset = -1;
  const morvex_geometry& model = contents_.summary.model;
  const morvex_geometry& particles = contents_.summary.particles;
  const auto take = [&](int set, std::uint64_t count) {
    timeset = set;
    chosen.step = stepOf(set, count);
  };
  if (isChosen_ && !candidates_.empty()) {
    const morvex_variable& variable =
        contents_.variables[static_cast<std::size_t>(candidates_.front())];
    if (variable.timeset >= 0) {
      take(variable.timeset, variable.steps);
      const bool onParticles = variable.on_particles != 0;
      if ((onParticles ? particles : model).change == MORVEX_CONNECTIVITY_CHANGES) {
        (onParticles ? chosen.particleStep : chosen.geometryStep) =
            stateOf(candidates_.front(), chosen.step);
      }
    }
  }
  // The model's own steps serve all variables that share its times.
  if (timeset < 0 && model.timeset >= 0) {
    take(model.timeset, model.steps);
    chosen.geometryStep = chosen.step;
  }
  // A static model's results may have steps nevertheless.
  if (timeset < 0 && particles.timeset >= 0) take(particles.timeset, particles.steps);
  for (const int candidate : candidates_) {
    const morvex_variable& variable = contents_.variables[static_cast<std::size_t>(candidate)];
    if (timeset < 0 && variable.timeset >= 0) take(variable.timeset, variable.steps);
  }
  // A file may have fewer times than steps: then no time is shown.
  if (timeset >= 0) {
    const auto& times = contents_.timesets.at(static_cast<std::size_t>(timeset));
    if (static_cast<std::size_t>(chosen.step) < times.size()) {
      chosen.time = times[static_cast<std::size_t>(chosen.step)];
      chosen.isTimed = true;
    }
  }
  return chosen;
}

int Coloring::stateOf(int variable, int step) const {
  std::int32_t state = 0;
  check(morvex_get_geometry_step(file_.handle(), variable, step, &state));
  return state;
}

int Coloring::variableStep(int variable, const Scene& scene) const {
  const morvex_variable& facts = contents_.variables[static_cast<std::size_t>(variable)];
  // Its own step is the one that the user asked for; others follow by their times.
  if (isChosen_ && facts.timeset >= 0) return scene.step;
  return nearestStep(contents_, {0, facts.timeset, facts.steps}, scene.time);
}

int Coloring::componentOf(const morvex_variable& variable) const {
  if (wish_.component.empty()) return MORVEX_ALL_COMPONENTS;
  if (wish_.component == kMagnitude) return MORVEX_ALL_COMPONENTS;
  std::vector<std::string> names;
  for (int component = 0; component < variable.components; ++component) {
    names.emplace_back(morvex_component_name(variable.type, component));
    if (tools::fits(wish_.component, names.back(), component)) return component;
  }
  throw Failure(tools::kUsageError, "variable '" + std::string(variable.name) +
                                        "' has no component '" + wish_.component + "'" +
                                        tools::suggestion(wish_.component, names));
}

std::string Coloring::nameOf(const morvex_variable& variable) const {
  std::string name = variable.name;
  if (variable.components <= 1) return name;
  const int component = componentOf(variable);
  if (component != MORVEX_ALL_COMPONENTS) {
    return name + " " + morvex_component_name(variable.type, component);
  }
  return name + (variable.type == kSymmetricTensor ? " (von Mises)" : " (magnitude)");
}

void Coloring::readValues(int variable, Scene& scene, int geometryStep) const {
  const morvex_variable& facts = contents_.variables[static_cast<std::size_t>(variable)];
  morvex_request of = variableRequest(variable, variableStep(variable, scene));
  of.component = componentOf(facts);
  of.layout = MORVEX_INTERLEAVED;
  // The elements of another step have other numbers.
  if (facts.on_particles == 0 && contents_.summary.model.change == MORVEX_CONNECTIVITY_CHANGES &&
      stateOf(variable, of.step) != geometryStep) {
    for (DrawnPart& part : scene.parts) part.values.clear();
    return;
  }
  const int components = of.component == MORVEX_ALL_COMPONENTS ? facts.components : 1;

  /// An array as the file has it, on its way to a part's values.
  struct Piece {
    std::vector<float>* target;
    std::size_t first;  ///< place of its values in the target
    std::vector<float> values;
  };
  std::vector<Piece> pieces;
  std::vector<morvex_request> requests;
  const auto ask = [&](std::vector<float>& target, std::size_t first) {
    std::uint64_t count = 0;
    const morvex_code code = morvex_get_size(file_.handle(), &of, &count, nullptr);
    if (code == MORVEX_NOT_DEFINED) return;  // the values stay missing, and grey
    check(code);
    pieces.push_back({&target, first, {}});
    requests.push_back(of);
  };
  if (facts.on_particles != 0) {
    scene.particleValues.assign(scene.particles.size(), kNoValue);
    if (!scene.particles.empty()) ask(scene.particleValues, 0);
  }
  for (DrawnPart& part : scene.parts) {
    part.values.clear();
    if (facts.on_particles != 0) continue;
    const morvex_part stored = file_.part(part.number, geometryStep);
    of.part = part.number;
    of.element_type = 0;
    part.isPerNode = stored.is_block != 0 || facts.location == MORVEX_PER_NODE;
    if (part.isPerNode) {
      part.values.assign(part.nodes.size(), kNoValue);
      ask(part.values, 0);
      continue;
    }
    // The cells of a part are in the order of their types; values come type by type.
    std::size_t cells = 0;
    std::vector<std::pair<int, std::size_t>> drawn;
    for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
      if (stored.elements[type] == 0 || !tools::hasNodes(type)) continue;  // no cells
      if (type % 2 == 0) drawn.emplace_back(type, cells);
      cells += static_cast<std::size_t>(stored.elements[type]);
    }
    part.values.assign(cells, kNoValue);
    for (const auto& [type, first] : drawn) {
      of.element_type = type;
      ask(part.values, first);
    }
  }
  // Added when all are known: a vector that grows would move the targets.
  Batch batch(file_);
  for (std::size_t i = 0; i < pieces.size(); ++i) batch.add(requests[i], pieces[i].values);
  batch.read();
  for (const Piece& piece : pieces) {
    const std::vector<float> reduced = reducedValues(piece.values, components);
    // A damaged file may have more values than nodes or elements.
    const std::size_t room = piece.target->size() - piece.first;
    std::copy_n(reduced.begin(), std::min(room, reduced.size()),
                piece.target->begin() + static_cast<std::ptrdiff_t>(piece.first));
  }
}

void Coloring::apply(Scene& scene, int geometryStep) const {
  for (const int variable : candidates_) {
    readValues(variable, scene, geometryStep);
    const Extremes extremes = extremesOf(scene);
    const auto [least, most] = extremes.range;
    // Values that don't vary tell less than the parts' own colours.
    if (!isChosen_ && !(least < most)) continue;
    scene.variable = nameOf(contents_.variables[static_cast<std::size_t>(variable)]);
    if (!(least <= most)) {
      throw Failure(tools::kUsageError,
                    "nothing that is drawn has values of '" + scene.variable + "' at this step");
    }
    scene.hasMissing = extremes.hasMissing;
    scene.range = wish_.range.value_or(extremes.range);
    return;
  }
}

}  // namespace morvex::picture

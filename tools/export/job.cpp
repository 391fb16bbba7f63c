#include "export/job.hpp"

#include <algorithm>
#include <limits>
#include <set>
#include <tuple>

namespace morvex::tools {

Job::Job(const File& openFile, const Contents& fileContents, const Choice& userChoice,
         NewFolder& newFolder, Feed& arrayFeed, std::string fileName)
    : file(openFile),
      contents(fileContents),
      choice(userChoice),
      folder(newFolder),
      feed(arrayFeed),
      name(std::move(fileName)),
      parts_(openFile, fileContents.summary.model) {
  const morvex_geometry& particles = contents.summary.particles;
  if (!choice.namesParts()) particleSteps_ = choice.steps(particles.timeset, particles.steps);
  for (int number = 0; number < static_cast<int>(contents.variables.size()); ++number) {
    if (!choice.hasVariable(number)) continue;
    // Values on particles need the particles.
    if (variable(number).on_particles != 0 && particleSteps_.empty()) continue;
    variables_.push_back(number);
  }
}

std::vector<int> Job::modelSteps() const {
  const morvex_geometry& model = contents.summary.model;
  const std::vector<int> chosen = choice.steps(model.timeset, model.steps);
  if (model.change != MORVEX_CONNECTIVITY_CHANGES) return chosen;
  // A value without its mesh could not be shown.
  std::set<int> steps(chosen.begin(), chosen.end());
  for (const int number : variables()) {
    if (variable(number).on_particles != 0 || variable(number).is_constant != 0) continue;
    for (const int step : stepsOf(variable(number))) {
      std::int32_t at = 0;
      if (morvex_get_geometry_step(file.handle(), number, step, &at) == MORVEX_OK) steps.insert(at);
    }
  }
  return {steps.begin(), steps.end()};
}

std::vector<int> Job::stepsOf(const morvex_variable& variable) const {
  return choice.steps(variable.timeset, variable.steps);
}

std::vector<float> Job::timesOf(int timeset, const std::vector<int>& steps) const {
  std::vector<float> times;
  for (const int step : steps) {
    // A file may name a time set that it doesn't have: its steps are then at time 0.
    const bool isKnown =
        timeset >= 0 && static_cast<std::size_t>(timeset) < contents.timesets.size();
    times.push_back(isKnown ? contents.timesets[static_cast<std::size_t>(timeset)].at(
                                  static_cast<std::size_t>(step))
                            : 0.0F);
  }
  return times;
}

// A loss is listed once by its path, however often it is asked for.
const std::vector<morvex_part>& Job::partsOrNone(int modelStep) {
  try {
    return parts_.at(modelStep);
  } catch (const Error& failure) {
    feed.lose("/geometry/0/" + std::to_string(modelStep), failure.what());
    return none_;
  }
}

std::optional<int> Job::geometryStep(int number, int step) {
  std::int32_t at = 0;
  if (morvex_get_geometry_step(file.handle(), number, step, &at) == MORVEX_OK) return at;
  feed.lose(std::string("/variable/") + variable(number).name + "/" + std::to_string(step),
            morvex_last_error()->text);
  return std::nullopt;
}

// From metadata: no dataset is opened. Only the library's "not defined" is certain; other failures show
// when the array is read.
bool Job::isDefined(int number, int step, int part) const {
  const morvex_request asked = variableRequest(number, step, part);
  std::uint64_t count = 0;
  return morvex_get_size(file.handle(), &asked, &count, nullptr) != MORVEX_NOT_DEFINED;
}

float Job::constant(int number, int step) {
  try {
    return file.constant(number, step);
  } catch (const Error& failure) {
    feed.lose(std::string("/variable/") + variable(number).name + "/" + std::to_string(step),
              failure.what());
    // A series keeps one entry for each step.
    return std::numeric_limits<float>::quiet_NaN();
  }
}

// The order of the types is that of the cells in every export.
std::vector<int> cellTypes(const morvex_part& part) {
  std::vector<int> types;
  for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
    if (hasNodes(type) && part.elements[type] != 0) types.push_back(type);
  }
  return types;
}

std::optional<morvex_location> locationOn(const morvex_variable& variable,
                                          const morvex_part& part) {
  if (part.is_block != 0 || variable.location == MORVEX_PER_NODE) return MORVEX_PER_NODE;
  if (variable.location == MORVEX_PER_ELEMENT) return MORVEX_PER_ELEMENT;
  return std::nullopt;
}

std::size_t componentsOf(const morvex_variable& variable) {
  return static_cast<std::size_t>(std::max(1, variable.components));
}

std::string faultOfBlock(const morvex_part& part) {
  const auto [i, j, k] = std::tuple(part.extents[0], part.extents[1], part.extents[2]);
  // Three extents of 31 bits: their product needs up to 93.
  const bool fits =
      i >= 0 && j >= 0 && k >= 0 &&
      static_cast<__uint128_t>(i) * static_cast<__uint128_t>(j) * static_cast<__uint128_t>(k) ==
          part.nodes;
  if (fits) return {};
  return "the block has " + std::to_string(part.nodes) + " nodes, but " + std::to_string(i) +
         " x " + std::to_string(j) + " x " + std::to_string(k) + " along its edges";
}

}  // namespace morvex::tools

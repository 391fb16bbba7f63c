#include "reader/api/case.hpp"

#include <algorithm>
#include <array>
#include <string>

#include "reader/api/failure.hpp"

namespace morvex::Api {
namespace {

/// True if parts and sizes may change from step to step.
bool hasStates(std::int32_t change) {
  return change == MORVEX_CONNECTIVITY_CHANGES;
}

}  // namespace

std::size_t positionOf(std::int64_t index, std::uint64_t count, std::string_view what) {
  if (index < 0 || static_cast<std::uint64_t>(index) >= count) {
    throw Refusal(MORVEX_OUT_OF_RANGE, "there is no " + std::string(what) + " " +
                                           std::to_string(index) + ": the number must be below " +
                                           std::to_string(count));
  }
  return static_cast<std::size_t>(index);
}

Case::Case(const SimulationMetadata& metadata) : metadata_(metadata) {
  const auto& kinds = metadata.caseMetaData.geometryKinds;
  const std::size_t count = std::min(kinds.size(), metadata.geometryMetaData.size());
  for (std::size_t g = 0; g < count; ++g) {
    if (kinds[g] == 0) model_ = static_cast<std::int32_t>(g);
    if (kinds[g] == 1) particles_ = static_cast<std::int32_t>(g);
  }
}

std::span<const float> Case::times(std::int32_t timeset) const {
  static constexpr std::array<float, 1> kNoTime{0.0F};
  if (timeset < 0) return kNoTime;
  return metadata_.timeSets[positionOf(timeset, metadata_.timeSets.size(), "time set")]
      ->timeValues();
}

std::int32_t Case::change(Which which) const {
  if (!has(which)) return MORVEX_ABSENT;
  const auto& changes = metadata_.caseMetaData.geometryChangeTypes;
  const auto index = static_cast<std::size_t>(indexOf(which));
  if (index >= changes.size()) return MORVEX_STATIC;
  if (changes[index] == GeometryChange::kStatic) return MORVEX_STATIC;
  return changes[index] == GeometryChange::kCoordinates ? MORVEX_COORDINATES_CHANGE
                                                        : MORVEX_CONNECTIVITY_CHANGES;
}

std::int32_t Case::timeset(Which which) const {
  const auto& timesets = metadata_.caseMetaData.geometryTimesets;
  if (!has(which) || static_cast<std::size_t>(indexOf(which)) >= timesets.size()) return -1;
  const std::uint32_t timeset = timesets[static_cast<std::size_t>(indexOf(which))];
  return timeset == kNoTimeset ? -1 : static_cast<std::int32_t>(timeset);
}

std::uint64_t Case::steps(Which which) const {
  switch (change(which)) {
    case MORVEX_ABSENT:
      return 0;
    case MORVEX_STATIC:
      return 1;
    case MORVEX_CONNECTIVITY_CHANGES:
      return metadata_.geometryMetaData[static_cast<std::size_t>(indexOf(which))].size();
    default:
      return stepsOfSet(timeset(which));
  }
}

std::uint64_t Case::stepsOfSet(std::int32_t timeset) const {
  const bool isKnown =
      timeset >= 0 && static_cast<std::size_t>(timeset) < metadata_.timeSets.size();
  return isKnown ? std::max<std::uint64_t>(times(timeset).size(), 1) : 1;
}

int Case::coordinateStep(Which which, int step) const {
  if (change(which) == MORVEX_STATIC) return 0;
  return static_cast<int>(positionOf(step, steps(which), "step"));
}

int Case::stateStep(Which which, int step) const {
  return hasStates(change(which)) ? coordinateStep(which, step) : 0;
}

const GeometryMetadata& Case::state(Which which, int step) const {
  if (!has(which)) {
    throw Refusal(MORVEX_NO_SUCH_DATA,
                  which == Which::kModel ? "the file has no model" : "the file has no particles");
  }
  const auto& states = metadata_.geometryMetaData[static_cast<std::size_t>(indexOf(which))];
  return states[positionOf(stateStep(which, step), states.size(), "step")];
}

std::size_t Case::partOf(const GeometryMetadata& state, int part) {
  return positionOf(part, state.numNodes.size(), "part");
}

std::size_t Case::variableOf(int variable) const {
  return positionOf(variable, metadata_.variableMetaData.names.size(), "variable");
}

Which Case::geometryOf(std::size_t variable) const {
  const std::uint32_t geometry = metadata_.variableMetaData.geometryIndices[variable];
  if (geometry > 1) {
    throw Refusal(MORVEX_WRONG_KIND,
                  "the variable is on geometry " + std::to_string(geometry) + ", which is unknown");
  }
  return geometry == 0 ? Which::kModel : Which::kParticles;
}

std::int32_t Case::timesetOf(std::size_t variable) const {
  const std::uint32_t timeset = metadata_.variableMetaData.timesets[variable];
  return timeset == kNoTimeset ? -1 : static_cast<std::int32_t>(timeset);
}

std::uint64_t Case::stepsOf(std::size_t variable) const {
  return stepsOfSet(timesetOf(variable));
}

int Case::variableStep(std::size_t variable, int step) const {
  if (timesetOf(variable) < 0) return 0;
  return static_cast<int>(positionOf(step, stepsOf(variable), "step"));
}

int Case::geometryStep(std::size_t variable, int step) const {
  const Which which = geometryOf(variable);
  if (!hasStates(change(which))) return 0;
  const std::int32_t own = timesetOf(variable);
  if (own == timeset(which)) return stateStep(which, variableStep(variable, step));
  const auto starts = times(timeset(which));
  const auto ownTimes = times(own);
  const auto at = static_cast<std::size_t>(variableStep(variable, step));
  const float time = at < ownTimes.size() ? ownTimes[at] : 0.0F;
  const auto later = std::ranges::find_if(starts, [&](float start) { return start > time; });
  const auto found = static_cast<std::uint64_t>(later - starts.begin());
  return static_cast<int>(std::min(found > 0 ? found - 1 : 0, steps(which) - 1));
}

std::int32_t Case::typeOf(std::size_t variable) const {
  const std::uint32_t type = metadata_.variableMetaData.types[variable];
  if (type == 5) return 1;
  if (type == 6) return 2;
  return static_cast<std::int32_t>(type);
}

std::int32_t Case::componentsOf(std::int32_t type) noexcept {
  static constexpr std::array<std::int32_t, 5> kComponents{0, 1, 3, 6, 9};
  return type >= 0 && type < 5 ? kComponents[static_cast<std::size_t>(type)] : 0;
}

}  // namespace morvex::Api

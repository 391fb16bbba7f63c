#include "simulation/simulation_metadata.hpp"

#include "core/checked.hpp"

namespace morvex {

using Kelbor::checkedAt;

bool SimulationMetadata::usesTimeDiffsOf(std::string_view variableName) const {
  const auto found = usesTimeDiffs.find(variableName);
  return found != usesTimeDiffs.end() && found->second;
}

const PatternEntry& SimulationMetadata::patternEntryOf(std::string_view variableName,
                                                       std::int32_t timestep) const {
  const auto timeset = timesetOfVariable.find(variableName);
  const std::int32_t index = timeset == timesetOfVariable.end() ? 0 : timeset->second;
  return checkedAt(checkedAt(timeDiffPatterns, index), timestep);
}

}  // namespace morvex

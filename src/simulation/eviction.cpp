#include <cstdlib>
#include <string_view>

#include "simulation/read_support.hpp"

namespace morvex {
namespace {

constexpr std::string_view kVariableRoot = "/variable/";

}  // namespace

void EnsgSimulation::clearGeometryCache() {
  externalDependencyCache_.removeIf(
      [](const std::string& path) { return path.ends_with("/coordinates_qe"); });
}

void EnsgSimulation::evictAfterVariable(const std::string& variableName, std::int32_t timestep) {
  // Takes those of coordinates, too: a host that reads variables is through with geometry.
  externalDependencyCache_.removeIf([](const std::string& path) { return path.ends_with("_qe"); });
  if (!usesTimeDiffs(variableName)) return;

  const std::int32_t currentTimeset = metadata_.timesetOfVariable.find(variableName)->second;
  externalDependencyCache_.removeIf([&](const std::string& path) {
    if (!path.starts_with(kVariableRoot)) return false;
    const std::size_t nameEnd = path.find('/', kVariableRoot.size());
    const std::string_view name =
        std::string_view(path).substr(kVariableRoot.size(), nameEnd - kVariableRoot.size());
    const auto timeset = metadata_.timesetOfVariable.find(name);
    if (timeset == metadata_.timesetOfVariable.end()) return false;

    const std::string_view rest = nameEnd == std::string::npos
                                      ? std::string_view()
                                      : std::string_view(path).substr(nameEnd + 1);
    const std::int32_t step = Kelbor::checkedStoi(rest.substr(0, rest.find('/')));
    const PatternEntry& entry =
        Kelbor::checkedAt(Kelbor::checkedAt(metadata_.timeDiffPatterns, timeset->second), step);
    if (timeset->second != currentTimeset) return false;
    // A step serves as a base within one block, a middle step only within its own reach.
    const std::int64_t distance = std::abs(std::int64_t{timestep} - step);
    return distance > std::int64_t{metadata_.timeDiffsMetaData.blockSize} ||
           (entry.kind == 'M' && distance > entry.distance);
  });
}

}  // namespace morvex

#include "simulation/eviction.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "core/checked.hpp"
#include "simulation/simulation_metadata.hpp"

namespace morvex {
namespace {

constexpr std::string_view kVariableRoot = "/variable/";

/// The kinds of shelves. Only kSteps is subdivided: by time set, reach and step.
enum ShelfKind : std::int32_t {
  kUnbounded,            // no rule evicts it
  kCoordinateQuantised,  // intermediate results of coordinates
  kQuantised,            // intermediate results of a variable
  kUnreadable,           // the step rule throws for the path
  kSteps
};

constexpr std::int64_t kFirstStep = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLastStep = std::numeric_limits<std::int64_t>::max();

/// A path's time step.
struct NamedStep {
  std::int32_t timeset;
  std::int32_t step;
  /// Largest distance in steps at which a read may need it.
  std::int64_t reach;
};

/// False if the step rule does not apply to the path.
bool readStep(const SimulationMetadata& metadata, const std::string& path, NamedStep& named) {
  if (!path.starts_with(kVariableRoot)) return false;
  const std::size_t nameEnd = path.find('/', kVariableRoot.size());
  const std::string_view name =
      std::string_view(path).substr(kVariableRoot.size(), nameEnd - kVariableRoot.size());
  const auto timeset = metadata.timesetOfVariable.find(name);
  if (timeset == metadata.timesetOfVariable.end()) return false;
  const std::string_view rest = nameEnd == std::string::npos
                                    ? std::string_view()
                                    : std::string_view(path).substr(nameEnd + 1);
  named.timeset = timeset->second;
  named.step = Kelbor::checkedStoi(rest.substr(0, rest.find('/')));
  const PatternEntry& entry =
      Kelbor::checkedAt(Kelbor::checkedAt(metadata.timeDiffPatterns, named.timeset), named.step);
  // Later reads within the same block may use a step as their base; a middle step only serves its
  // sub-block.
  named.reach = metadata.timeDiffsMetaData.blockSize;
  if (entry.kind == 'M') named.reach = std::min<std::int64_t>(named.reach, entry.distance);
  return true;
}

ShelfRange wholeKind(ShelfKind kind) {
  return {{kind, std::numeric_limits<std::int32_t>::min(), kFirstStep, kFirstStep},
          {kind, std::numeric_limits<std::int32_t>::max(), kLastStep, kLastStep}};
}

/// The shelves of a time set that are out of reach from `timestep`. There are few different
/// reaches, the block size and its halves, so two ranges per reach cost less than a visit to each
/// entry.
std::vector<ShelfRange> outOfReach(const DatasetCache& cache, std::int32_t timeset,
                                   std::int64_t timestep) {
  std::vector<ShelfRange> ranges;
  Shelf from{kSteps, timeset, kFirstStep, kFirstStep};
  while (const Shelf* next = cache.nextShelf(from)) {
    if (next->kind != kSteps || next->timeset != timeset) break;
    const std::int64_t reach = next->reach;
    const auto at = [&](std::int64_t step) { return Shelf{kSteps, timeset, reach, step}; };
    ranges.push_back({at(kFirstStep), at(timestep - reach - 1)});
    ranges.push_back({at(timestep + reach + 1), at(kLastStep)});
    if (reach == kLastStep) break;
    from = {kSteps, timeset, reach + 1, kFirstStep};
  }
  return ranges;
}

}  // namespace

Shelf shelfOf(const SimulationMetadata& metadata, const std::string& datasetPath) {
  if (datasetPath.ends_with("/coordinates_qe")) return {.kind = kCoordinateQuantised};
  if (datasetPath.ends_with("_qe")) return {.kind = kQuantised};
  try {
    NamedStep named{};
    if (!readStep(metadata, datasetPath, named)) return {.kind = kUnbounded};
    return {kSteps, named.timeset, named.reach, named.step};
  } catch (const std::logic_error&) {  // an eviction reads the path again and throws then
    return {.kind = kUnreadable};
  }
}

void evictGeometry(DatasetCache& cache) {
  cache.removeIf(std::array{wholeKind(kCoordinateQuantised)},
                 [](const std::string& path) { return path.ends_with("/coordinates_qe"); });
}

void evictAfterVariable(DatasetCache& cache, const SimulationMetadata& metadata,
                        const std::string& variableName, std::int32_t timestep) {
  // Also evicts those of coordinates: a host that reads variables has finished with geometry.
  cache.removeIf(std::array{wholeKind(kCoordinateQuantised), wholeKind(kQuantised)},
                 [](const std::string& path) { return path.ends_with("_qe"); });
  if (!metadata.usesTimeDiffsOf(variableName)) return;

  const std::int32_t currentTimeset = metadata.timesetOfVariable.find(variableName)->second;
  std::vector<ShelfRange> ranges = outOfReach(cache, currentTimeset, timestep);
  ranges.push_back(wholeKind(kUnreadable));
  cache.removeIf(ranges, [&](const std::string& path) {
    NamedStep named{};
    if (!readStep(metadata, path, named) || named.timeset != currentTimeset) return false;
    return std::abs(std::int64_t{timestep} - named.step) > named.reach;
  });
}

}  // namespace morvex

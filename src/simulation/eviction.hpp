#pragma once

#include <cstdint>
#include <string>

#include "recipes/dataset_cache.hpp"

namespace morvex {

struct SimulationMetadata;

// Evicts finished results of other datasets. There is no size limit: a result is evicted once no
// read near the last one can need it, which follows from its path and its time set's pattern. Each
// result is shelved by these when it enters the cache, so an eviction visits only shelves that it
// may empty. Otherwise each read would visit the whole cache, which grows with the number of parts
// and components.

/// The shelf for the result of a dataset.
[[nodiscard]] Shelf shelfOf(const SimulationMetadata& metadata, const std::string& datasetPath);

/// Evicts what reads of quantised coordinates share, once the host has finished with geometry.
void evictGeometry(DatasetCache& cache);

/// Evicts what reads near the last one can't need: all intermediate results of quantisation and,
/// for a variable with time differences, the steps of its time set that are out of reach. Throws
/// std::invalid_argument or std::out_of_range for a cached result whose path has no step, or whose
/// step has no pattern.
void evictAfterVariable(DatasetCache& cache, const SimulationMetadata& metadata,
                        const std::string& variableName, std::int32_t timestep);

}  // namespace morvex

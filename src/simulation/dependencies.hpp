#pragma once

#include <cstdint>
#include <string>

namespace morvex {

class Recipe;
struct ReadContext;

/// Computes every result of other datasets that a recipe refers to, directly or not, unless the
/// context's cache has it; each one after its own references. `group` and `name` are the recipe's
/// dataset, `size` is the number of values that the host asked for, and `variableName` the
/// variable's name in settings, "coordinates" for coordinates.
///
/// std::runtime_error "External dependency cycle at " + path, or for a missing dataset;
/// std::logic_error "Unknown (ext)recipe label: " + label; std::length_error for a stored size that
/// the dataset can't have; otherwise whatever building and running a chain throws. Results computed
/// before a failure stay in the cache.
void fetchAndCacheExternalDependencies(ReadContext& context, const Recipe& recipe,
                                       std::uint64_t size, const std::string& group,
                                       const std::string& name, const std::string& variableName);

}  // namespace morvex

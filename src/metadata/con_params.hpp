#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace morvex {

/// Reads the record "recipe_con_params": the stored parameter blocks, each with its own version at
/// its start, as a `Deserializer` takes them. Datasets count them from 1. UsageException for a
/// version above 0.0.0, InternalError for bytes that can't be read.
[[nodiscard]] std::vector<std::vector<std::byte>> readRecipeConParams(
    std::span<const std::byte> bytes);

}  // namespace morvex

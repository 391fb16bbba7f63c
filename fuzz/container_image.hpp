#pragma once

#include <optional>
#include <random>
#include <span>

#include "writer/result_image.hpp"

namespace morvex::Fuzz {

/// The readable datasets of a container in memory; empty for bytes without a tree of groups. The
/// depth and the number of datasets are limited far beyond those of any seed.
[[nodiscard]] std::optional<Writer::ResultImage> readContainer(std::span<const std::byte> bytes);

/// A container with these datasets. `random` selects the datasets and tables to deflate.
[[nodiscard]] Writer::Bytes containerBytes(const Writer::ResultImage& image, std::mt19937& random);

}  // namespace morvex::Fuzz

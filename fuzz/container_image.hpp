#pragma once

#include <optional>
#include <random>
#include <span>

#include "writer/result_image.hpp"

namespace morvex::Fuzz {

/// The datasets that a container in memory holds, those left out that can't be read; nothing for
/// bytes without a tree of groups. Trees are followed to a depth and a number of datasets that no
/// seed comes near.
[[nodiscard]] std::optional<Writer::ResultImage> readContainer(std::span<const std::byte> bytes);

/// A container of these datasets; `random` chooses which of them, and which tables, are deflated.
[[nodiscard]] Writer::Bytes containerBytes(const Writer::ResultImage& image, std::mt19937& random);

}  // namespace morvex::Fuzz

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "inflate/plane_chunks.hpp"

namespace Kelbor::Inflate {

/// Inflates a stream of one set of planes into `planes`, passing it to zlib in windows of
/// `windowSizeInBytes`. A stream shorter than `planes` succeeds, and an empty one succeeds without
/// data. A stream without its end, one that exceeds `planes`, and a window of 0 fail.
[[nodiscard]] InflateResult inflateWindowedPlanes(std::span<const std::byte> stream,
                                                  std::span<std::byte> planes,
                                                  std::uint32_t windowSizeInBytes) noexcept;

}  // namespace Kelbor::Inflate

#pragma once

#include <span>
#include <string_view>

namespace Kelbor::Inflate {

/// What inflates the stored streams: the symbol loops for one kind of processor, or zlib alone. All
/// give the same results, since zlib decides about every stream that the loops refuse.
///
/// This function returns the roads of this machine, the preferred one first, zlib last.
[[nodiscard]] std::span<const std::string_view> inflateRoads() noexcept;

/// Pins the process to one of inflateRoads(), for tests and measurements.
void useInflateRoad(std::string_view road) noexcept;

/// Selects the preferred road again.
void useBestInflateRoad() noexcept;

}  // namespace Kelbor::Inflate

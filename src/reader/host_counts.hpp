#pragma once

#include <cstdint>
#include <limits>
#include <stdexcept>

#include "core/checked.hpp"

namespace morvex {

/// A stored count as the 32-bit number by which a host sizes an array. std::length_error if it
/// doesn't fit: with a truncated count, the read would overrun the host's array.
[[nodiscard]] inline int hostCount(std::uint64_t count) {
  if (count > std::uint64_t{std::numeric_limits<int>::max()}) {
    Kelbor::raiseUnlogged<std::length_error>(Kelbor::kVectorTooLong);
  }
  return static_cast<int>(count);
}

}  // namespace morvex

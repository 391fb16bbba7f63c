#pragma once

#include <cstdint>
#include <limits>
#include <stdexcept>

#include "core/checked.hpp"

namespace morvex {

/// A stored count as the 32-bit answer by which a host sizes an array. std::length_error where it
/// does not fit: a cut count would have the host's array overrun.
[[nodiscard]] inline int hostCount(std::uint64_t count) {
  if (count > std::uint64_t{std::numeric_limits<int>::max()}) {
    throw std::length_error(Kelbor::kVectorTooLong);
  }
  return static_cast<int>(count);
}

}  // namespace morvex

#pragma once

#include <algorithm>
#include <cmath>
#include <concepts>
#include <limits>
#include <span>
#include <string_view>

#include "common/batch_reader.hpp"

namespace morvex::tools {

/// Calls `use` with the typed value that an array's values are like: a float, int32 or int16 of 0.
template <class Use>
decltype(auto) withValueType(const ArrayId& array, const Use& use) {
  switch (array.request.kind) {
    case MORVEX_COORDINATES:
    case MORVEX_VARIABLE:
    case MORVEX_PARTICLE_COORDINATES:
      return use(float{});
    case MORVEX_BORDER_PARENT_TYPES:
      return use(std::int16_t{});
    default:
      return use(std::int32_t{});
  }
}

/// Calls `use` with the bytes as a span of values. Batches align their arrays for any type.
template <class Use>
decltype(auto) visitValues(const ArrayId& array, std::span<const std::byte> bytes, const Use& use) {
  return withValueType(array, [&]<class T>(T) {
    return use(std::span(reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T)));
  });
}

/// A digest of an array and its path. NaN of all kinds are equal, and 0 equals -0: how a number is
/// stored may change them.
[[nodiscard]] std::uint64_t digestOf(const ArrayId& array, std::span<const std::byte> bytes,
                                     std::string_view path);

/// Smallest and largest of some values; those that are no numbers are only counted.
struct ValueRange {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  std::uint64_t count = 0;
  std::uint64_t invalid = 0;

  [[nodiscard]] bool isEmpty() const noexcept { return count == invalid; }

  template <class T>
  void add(std::span<const T> values) {
    T least = std::numeric_limits<T>::max();
    T most = std::numeric_limits<T>::lowest();
    if constexpr (std::floating_point<T>) {
      least = std::numeric_limits<T>::infinity();
      most = -least;
      for (const T value : values) invalid += std::isnan(value) ? 1U : 0U;
    }
    for (const T value : values) {  // comparisons with NaN are false
      least = value < least ? value : least;
      most = value > most ? value : most;
    }
    count += values.size();
    if (values.empty()) return;
    low = std::min(low, static_cast<double>(least));
    high = std::max(high, static_cast<double>(most));
  }
};

}  // namespace morvex::tools

#include "common/values.hpp"

#include <bit>

#include "common/hash.hpp"

namespace morvex::tools {
namespace {

/// Whether any value has equals with other bits: a NaN, or -0.
bool hasAmbiguous(std::span<const float> values) {
  // By bits and without an end before the last value, so that the compiler makes vector code of it.
  constexpr std::uint32_t kSign = 0x8000'0000U;
  constexpr std::uint32_t kInfinity = 0x7F80'0000U;
  std::uint32_t found = 0;
  for (const float value : values) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    found |= static_cast<std::uint32_t>(bits == kSign) |
             static_cast<std::uint32_t>((bits & ~kSign) > kInfinity);
  }
  return found != 0;
}

}  // namespace

std::uint64_t digestOf(const ArrayId& array, std::span<const std::byte> bytes,
                       std::string_view path) {
  const std::uint64_t key = hashOf(path);
  return visitValues(array, bytes, [&]<class T>(std::span<const T> values) {
    if constexpr (std::floating_point<T>) {
      // Rare: most arrays are hashed where they are.
      if (hasAmbiguous(values)) {
        // In this copy equal numbers have equal bits.
        std::vector<T> settled(values.begin(), values.end());
        for (T& value : settled) {
          if (std::isnan(value)) value = std::numeric_limits<T>::quiet_NaN();
          if (value == 0) value = 0;
        }
        return hashOf(std::as_bytes(std::span(settled)), key);
      }
    }
    return hashOf(std::as_bytes(values), key);
  });
}

}  // namespace morvex::tools

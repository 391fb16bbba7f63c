#include "common/values.hpp"

#include <bit>

#include "common/hash.hpp"

namespace morvex::tools {
namespace {

/// Whether a value has equals with other bits.
bool isAmbiguous(float value) {
  return std::isnan(value) || std::bit_cast<std::uint32_t>(value) == 0x80000000U;
}

}  // namespace

std::uint64_t digestOf(const ArrayId& array, std::span<const std::byte> bytes,
                       std::string_view path) {
  const std::uint64_t key = hashOf(path);
  return visitValues(array, bytes, [&]<class T>(std::span<const T> values) {
    if constexpr (std::floating_point<T>) {
      // Rare: most arrays are hashed where they are.
      bool hasAny = false;
      for (const T value : values) hasAny |= isAmbiguous(value);
      if (hasAny) {
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

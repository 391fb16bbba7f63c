#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace morvex::picture {

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  friend bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color kMissing{168, 168, 168};  ///< of values that are not there or no numbers
inline constexpr Color kInk{38, 42, 48};         ///< of text, frames and element edges

/// The nearest brightness that there is. Called for each channel of each pixel: hence inline.
[[nodiscard]] inline std::uint8_t channel(float value) {
  return static_cast<std::uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
}

/// Each channel times a factor from 0 on, up to white.
[[nodiscard]] inline Color scaled(Color color, float factor) {
  return {channel(static_cast<float>(color.red) * factor),
          channel(static_cast<float>(color.green) * factor),
          channel(static_cast<float>(color.blue) * factor)};
}

/// `part` of 0 is the first colour, 1 the second.
[[nodiscard]] inline Color mixed(Color first, Color second, float part) {
  const auto mix = [part](std::uint8_t from, std::uint8_t to) {
    const auto start = static_cast<float>(from);
    return channel(start + (static_cast<float>(to) - start) * part);
  };
  return {mix(first.red, second.red), mix(first.green, second.green), mix(first.blue, second.blue)};
}

/// The colour of a place in a range, from 0, dark violet, to 1, yellow. Others get the nearest
/// end's.
[[nodiscard]] Color mapColor(float place);

/// The colour of a part or other thing that has a number and no value. There are 8, which repeat.
[[nodiscard]] Color distinctColor(std::size_t number);

}  // namespace morvex::picture

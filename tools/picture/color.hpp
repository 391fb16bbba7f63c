#pragma once

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

/// Each channel times a factor from 0 on, up to white.
[[nodiscard]] Color scaled(Color color, float factor);
/// `part` of 0 is the first color, 1 the second.
[[nodiscard]] Color mixed(Color first, Color second, float part);

/// The color of a place in a range, from 0, dark violet, to 1, yellow. Others get the nearest end's.
[[nodiscard]] Color mapColor(float place);

/// The color of a part or other thing that has a number and no value. There are 8, which repeat.
[[nodiscard]] Color distinctColor(std::size_t number);

}  // namespace morvex::picture

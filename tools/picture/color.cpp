#include "picture/color.hpp"

#include <algorithm>
#include <array>

namespace morvex::picture {
namespace {

/// Ten equidistant colours of "viridis", by Stefan van der Walt and Nathaniel Smith, dedicated to
/// the public domain (CC0): equal steps look equal, also in grey and to colour-blind readers.
constexpr std::array<Color, 10> kViridis{{{0x44, 0x01, 0x54},
                                          {0x48, 0x28, 0x78},
                                          {0x3e, 0x4a, 0x89},
                                          {0x31, 0x68, 0x8e},
                                          {0x26, 0x82, 0x8e},
                                          {0x1f, 0x9e, 0x89},
                                          {0x35, 0xb7, 0x79},
                                          {0x6d, 0xcd, 0x59},
                                          {0xb4, 0xde, 0x2c},
                                          {0xfd, 0xe7, 0x25}}};

/// Of similar lightness, and told apart by colour-blind readers as well.
constexpr std::array<Color, 8> kDistinct{{{116, 154, 196},
                                          {226, 158, 76},
                                          {110, 178, 142},
                                          {214, 122, 108},
                                          {222, 203, 110},
                                          {160, 134, 190},
                                          {142, 196, 208},
                                          {184, 156, 132}}};

}  // namespace

Color mapColor(float place) {
  const float at = std::clamp(place, 0.0F, 1.0F) * static_cast<float>(kViridis.size() - 1);
  const std::size_t below = std::min(static_cast<std::size_t>(at), kViridis.size() - 2);
  return mixed(kViridis[below], kViridis[below + 1], at - static_cast<float>(below));
}

Color distinctColor(std::size_t number) {
  return kDistinct[number % kDistinct.size()];
}

}  // namespace morvex::picture

#pragma once

#include "picture/render.hpp"

namespace morvex::picture {

inline constexpr Color kParticles{70, 76, 86};  ///< of particles without values

/// Where things are in a picture, in its pixels.
struct Layout {
  Place corner;  ///< of the area for the model
  Place otherCorner;
  float text = 0;    ///< height of capitals; 0 where the picture has no room for texts
  float legend = 0;  ///< left side of the legend
};

[[nodiscard]] Layout layoutOf(const Scene& scene, const Style& style);

/// Draws the legend, the axes and the title.
void decorate(Image& image, const Scene& scene, const Style& style, const View& view,
              const Layout& layout);

}  // namespace morvex::picture

#pragma once

#include <limits>
#include <vector>

#include "picture/image.hpp"
#include "picture/vector.hpp"

namespace morvex::picture {

/// Depth of a pixel where nothing was drawn.
inline constexpr float kEmpty = -std::numeric_limits<float>::infinity();

/// A corner of what is drawn. The place is in pixels of the canvas with y downwards; z is larger
/// where it is nearer to the viewer.
struct Corner {
  Vector place;
  Vector normal;    ///< in view space, of either side; lights the corner
  float value = 0;  ///< place in the colour map; ignored where a colour is given
};

/// Where a drawn thing has its colour from.
struct Paint {
  bool isMapped =
      false;    ///< by the colour map, from the values; kMissing where they are no numbers
  Color color;  ///< else
};

/// The image while it is drawn, with the depth of each pixel: what is nearer hides the rest. It has
/// more pixels than the picture, whose pixels are means of them.
class Canvas {
 public:
  explicit Canvas(Size size);

  [[nodiscard]] Size size() const noexcept { return size_; }
  [[nodiscard]] float depth(int x, int y) const { return depths_[index(x, y)]; }
  [[nodiscard]] Color color(int x, int y) const { return colors_[index(x, y)]; }

  /// Covers the pixels with their centre inside or on the border, lit by a lamp beside the viewer.
  void triangle(const Corner& a, const Corner& b, const Corner& c, const Paint& paint);
  /// A line of that width in pixels, not lit.
  void line(const Corner& a, const Corner& b, float width, const Paint& paint);
  /// A ball with a radius in pixels. `pixelDepth` is the depth of a pixel's width.
  void ball(const Corner& centre, float radius, float pixelDepth, const Paint& paint);

  /// Darkens what is next to something nearer and the folds of surfaces, so that depth is seen. It
  /// looks `reach` pixels far; `fullDepth` is a difference that is as dark as it gets.
  void darkenFolds(int reach, float fullDepth);

  /// The picture, `factor` times smaller.
  [[nodiscard]] Image reduced(int factor) const;

 private:
  [[nodiscard]] std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
           static_cast<std::size_t>(x);
  }
  /// Sets a pixel unless something nearer is there.
  void put(int x, int y, float depth, Color color);

  Size size_;
  std::vector<float> depths_;
  std::vector<Color> colors_;
};

}  // namespace morvex::picture

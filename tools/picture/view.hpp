#pragma once

#include <optional>
#include <string_view>

#include "picture/image.hpp"
#include "picture/vector.hpp"

namespace morvex::picture {

/// A box along the axes; empty as long as nothing was added.
struct Box {
  Vector least{INFINITY, INFINITY, INFINITY};
  Vector most{-INFINITY, -INFINITY, -INFINITY};

  /// Coordinates that are no numbers are left out.
  void add(Vector point);
  void add(const Box& other);
  [[nodiscard]] bool empty() const noexcept { return !(least.x <= most.x); }
  [[nodiscard]] Vector extent() const { return most - least; }
};

/// Where the viewer is: degrees around z from the front, to the right if positive, and above the
/// horizon.
struct Direction {
  float azimuth = 0;
  float elevation = 0;
};

/// iso, front, back, left, right, top, bottom, or two angles such as "30,20"; nothing for all else.
/// In "front" x is to the right and z up.
[[nodiscard]] std::optional<Direction> directionOf(std::string_view text);

/// The view for a model that nobody chose one for: from the right front and above; flat models from
/// where they are seen as a whole.
[[nodiscard]] Direction usualDirection(const Box& box);

/// A parallel projection. z is up in the picture; from straight above and below, y is.
class View {
 public:
  explicit View(Direction direction);

  /// A direction or point in view space.
  [[nodiscard]] Vector turned(Vector v) const {
    return {dot(right_, v), dot(up_, v), dot(towards_, v)};
  }
  /// A point on the canvas, once fitted; depths are in units of the model.
  [[nodiscard]] Vector placed(Vector point) const {
    const Vector v = turned(point);
    return {middle_.x + (v.x - centre_.x) * scale_, middle_.y - (v.y - centre_.y) * scale_, v.z};
  }
  /// Makes the box, which is in view space, fill the middle of an area of a canvas.
  void fit(const Box& turnedBox, Place corner, Place otherCorner);
  /// Pixels for a unit of the model.
  [[nodiscard]] float scale() const noexcept { return scale_; }

 private:
  Vector right_;
  Vector up_;
  Vector towards_;
  Vector centre_;
  Place middle_;
  float scale_ = 1;
};

}  // namespace morvex::picture

#include "picture/canvas.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace morvex::picture {
namespace {

/// The colour map, tabled: a look-up for each pixel.
constexpr std::size_t kMapSteps = 1024;
const std::array<Color, kMapSteps>& mapTable() {
  static const auto table = [] {
    std::array<Color, kMapSteps> made{};
    for (std::size_t i = 0; i < kMapSteps; ++i) {
      made[i] = mapColor(static_cast<float>(i) / static_cast<float>(kMapSteps - 1));
    }
    return made;
  }();
  return table;
}

Color colorOf(const Paint& paint, float value) {
  if (!paint.isMapped) return paint.color;
  if (std::isnan(value)) return kMissing;
  const float place = std::clamp(value, 0.0F, 1.0F) * static_cast<float>(kMapSteps - 1);
  return mapTable()[static_cast<std::size_t>(place)];
}

/// The light of a surface. Mild, so that colours still agree with those of the legend.
struct Light {
  float diffuse;
  float highlight;
};

Light lightOf(Vector normal) {
  static const Vector lamp = normalized({-0.25F, 0.42F, 0.87F});
  static const Vector halfway = normalized(lamp + Vector{0, 0, 1});
  const Vector facing = normalized(normal.z < 0 ? normal * -1 : normal);
  const float glance = std::max(0.0F, dot(facing, halfway));
  // Powers by multiplication: a call of pow for each corner is noticed in large models.
  const float squared = glance * glance * glance * glance;
  const float toThe16th = squared * squared * squared * squared;
  return {0.58F + 0.46F * std::max(0.0F, dot(facing, lamp)), 0.1F * toThe16th};
}

Color lit(Color color, Light light) {
  return mixed(scaled(color, light.diffuse), {255, 255, 255}, light.highlight);
}

/// The pixels from a to b whose centres may be between them.
std::pair<int, int> pixelRange(float a, float b, int size) {
  // Far outside of the canvas is as good as beside it, and fits an int.
  const auto limited = [size](float place) {
    return std::clamp(place, -1.0F, static_cast<float>(size));
  };
  return {std::max(0, static_cast<int>(std::floor(limited(a)))),
          std::min(size - 1, static_cast<int>(std::ceil(limited(b))))};
}

}  // namespace

Canvas::Canvas(Size size)
    : size_(size),
      depths_(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), kEmpty),
      colors_(depths_.size()) {}

void Canvas::put(int x, int y, float depth, Color color) {
  const std::size_t at = index(x, y);
  // What comes later wins in one place, so that edges and balls lie on faces.
  if (depth < depths_[at]) return;
  depths_[at] = depth;
  colors_[at] = color;
}

void Canvas::triangle(const Corner& a, const Corner& b, const Corner& c, const Paint& paint) {
  const auto twiceArea = [](float px, float py, Vector from, Vector to) {
    return (to.x - from.x) * (py - from.y) - (to.y - from.y) * (px - from.x);
  };
  // Of either sign: faces are seen from both sides. The quotients below are then positive inside.
  const float whole = twiceArea(c.place.x, c.place.y, a.place, b.place);
  if (!(std::abs(whole) > 0)) return;  // seen from its edge, or not a number
  const Light lightOfA = lightOf(a.normal);
  const Light lightOfB = lightOf(b.normal);
  const Light lightOfC = lightOf(c.normal);
  const auto [minX, maxX] = std::minmax({a.place.x, b.place.x, c.place.x});
  const auto [minY, maxY] = std::minmax({a.place.y, b.place.y, c.place.y});
  const auto [left, right] = pixelRange(minX - 0.5F, maxX - 0.5F, size_.width);
  const auto [top, bottom] = pixelRange(minY - 0.5F, maxY - 0.5F, size_.height);
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const float px = static_cast<float>(x) + 0.5F;
      const float py = static_cast<float>(y) + 0.5F;
      // Barycentric coordinates of the pixel's centre: what each corner contributes.
      const float ofA = twiceArea(px, py, b.place, c.place) / whole;
      const float ofB = twiceArea(px, py, c.place, a.place) / whole;
      const float ofC = twiceArea(px, py, a.place, b.place) / whole;
      // Neighbours both cover the border between them, so that none is left open.
      if (ofA < 0 || ofB < 0 || ofC < 0) continue;
      const float depth = a.place.z * ofA + b.place.z * ofB + c.place.z * ofC;
      if (depth < depths_[index(x, y)]) continue;
      const float value = a.value * ofA + b.value * ofB + c.value * ofC;
      const Light light{
          lightOfA.diffuse * ofA + lightOfB.diffuse * ofB + lightOfC.diffuse * ofC,
          lightOfA.highlight * ofA + lightOfB.highlight * ofB + lightOfC.highlight * ofC};
      put(x, y, depth, lit(colorOf(paint, value), light));
    }
  }
}

void Canvas::line(const Corner& a, const Corner& b, float width, const Paint& paint) {
  const float dx = b.place.x - a.place.x;
  const float dy = b.place.y - a.place.y;
  const float square = dx * dx + dy * dy;
  const float reach = width / 2;
  const auto [minX, maxX] = std::minmax(a.place.x, b.place.x);
  const auto [minY, maxY] = std::minmax(a.place.y, b.place.y);
  if (!std::isfinite(square)) return;  // coordinates of damaged files may be anything
  const auto [left, right] = pixelRange(minX - reach - 0.5F, maxX + reach, size_.width);
  const auto [top, bottom] = pixelRange(minY - reach - 0.5F, maxY + reach, size_.height);
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const float px = static_cast<float>(x) + 0.5F - a.place.x;
      const float py = static_cast<float>(y) + 0.5F - a.place.y;
      // The nearest place of the line, from 0 to 1; a line without length is a dot.
      const float along = square > 0 ? std::clamp((px * dx + py * dy) / square, 0.0F, 1.0F) : 0.0F;
      if (std::hypot(px - along * dx, py - along * dy) > reach) continue;
      put(x, y, a.place.z + along * (b.place.z - a.place.z),
          colorOf(paint, a.value + along * (b.value - a.value)));
    }
  }
}

void Canvas::ball(const Corner& centre, float radius, float pixelDepth, const Paint& paint) {
  const Vector at = centre.place;
  if (!std::isfinite(at.x) || !std::isfinite(at.y)) return;
  const auto [left, right] = pixelRange(at.x - radius - 0.5F, at.x + radius, size_.width);
  const auto [top, bottom] = pixelRange(at.y - radius - 0.5F, at.y + radius, size_.height);
  const Color color = colorOf(paint, centre.value);
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const float dx = (static_cast<float>(x) + 0.5F - at.x) / radius;
      const float dy = (at.y - static_cast<float>(y) - 0.5F) / radius;
      const float square = 1 - dx * dx - dy * dy;
      if (square < 0) continue;
      const float height = std::sqrt(square);  // towards the viewer, of a radius of 1
      put(x, y, at.z + height * radius * pixelDepth, lit(color, lightOf({dx, dy, height})));
    }
  }
}

void Canvas::darkenFolds(int reach, float fullDepth) {
  constexpr std::array<std::array<int, 2>, 4> kWays{{{1, 0}, {0, 1}, {1, 1}, {1, -1}}};
  constexpr float kDarkest = 0.45F;
  // Beside the model there is nothing that could cast a shadow.
  const auto isInside = [&](int x, int y) {
    return x >= 0 && y >= 0 && x < size_.width && y < size_.height && depth(x, y) != kEmpty;
  };
  for (int y = 0; y < size_.height; ++y) {
    for (int x = 0; x < size_.width; ++x) {
      const float own = depth(x, y);
      if (own == kEmpty) continue;
      float sum = 0;
      for (const auto& [dx, dy] : kWays) {
        const int right = x + dx * reach;
        const int left = x - dx * reach;
        const int down = y + dy * reach;
        const int up = y - dy * reach;
        if (!isInside(right, down) || !isInside(left, up)) continue;
        // A plane, however it is inclined, has no difference to the mean of its neighbours.
        const float fold = (depth(right, down) + depth(left, up)) / 2 - own;
        sum += std::clamp(fold / fullDepth, 0.0F, 1.0F);
      }
      Color& color = colors_[index(x, y)];
      color = scaled(color, 1 - kDarkest * sum / static_cast<float>(kWays.size()));
    }
  }
}

Image Canvas::reduced(int factor) const {
  Image image({size_.width / factor, size_.height / factor});
  const auto samples = static_cast<float>(factor * factor);
  for (int y = 0; y < image.size().height; ++y) {
    for (int x = 0; x < image.size().width; ++x) {
      // Empty samples count in the coverage alone: they have no colour to mix in.
      std::array<int, 3> sums{};
      int covered = 0;
      for (int i = 0; i < factor * factor; ++i) {
        const std::size_t at = index(x * factor + i % factor, y * factor + i / factor);
        if (depths_[at] == kEmpty) continue;
        ++covered;
        sums[0] += colors_[at].red;
        sums[1] += colors_[at].green;
        sums[2] += colors_[at].blue;
      }
      if (covered == 0) continue;
      const auto mean = [covered](int sum) { return static_cast<std::uint8_t>(sum / covered); };
      image.set(x, y, {mean(sums[0]), mean(sums[1]), mean(sums[2])},
                static_cast<float>(covered) / samples);
    }
  }
  return image;
}

}  // namespace morvex::picture

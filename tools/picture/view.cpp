#include "picture/view.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <numbers>
#include <utility>

namespace morvex::picture {
namespace {

// Not the corner view of drawing boards: vertical sides differ in light and width.
constexpr Direction kIso{35, 28};
constexpr Direction kFront{0, 0};
constexpr Direction kRight{90, 0};
constexpr Direction kTop{0, 90};

constexpr std::array<std::pair<std::string_view, Direction>, 7> kNamed{{{"iso", kIso},
                                                                        {"front", kFront},
                                                                        {"back", {180, 0}},
                                                                        {"left", {-90, 0}},
                                                                        {"right", kRight},
                                                                        {"top", kTop},
                                                                        {"bottom", {0, -90}}}};

}  // namespace

void Box::add(Vector point) {
  if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) return;
  least = {std::min(least.x, point.x), std::min(least.y, point.y), std::min(least.z, point.z)};
  most = {std::max(most.x, point.x), std::max(most.y, point.y), std::max(most.z, point.z)};
}

void Box::add(const Box& other) {
  if (other.empty()) return;
  add(other.least);
  add(other.most);
}

std::optional<Direction> directionOf(std::string_view text) {
  for (const auto& [name, direction] : kNamed) {
    if (text == name) return direction;
  }
  // from_chars follows no locale: a comma is a separator everywhere.
  Direction direction;
  const char* const end = text.data() + text.size();
  const auto azimuth = std::from_chars(text.data(), end, direction.azimuth);
  if (azimuth.ec != std::errc() || azimuth.ptr == end || *azimuth.ptr != ',') return {};
  const auto elevation = std::from_chars(azimuth.ptr + 1, end, direction.elevation);
  if (elevation.ec != std::errc() || elevation.ptr != end) return {};
  // Beyond the poles the picture would be upside down.
  if (!std::isfinite(direction.azimuth) || !(std::abs(direction.elevation) <= 90)) return {};
  return direction;
}

Direction usualDirection(const Box& box) {
  if (box.empty()) return kIso;
  constexpr float kFlat = 1e-3F;
  const Vector extent = box.extent();
  const float thin = kFlat * length(extent);
  if (extent.z <= thin) return kTop;
  if (extent.y <= thin) return kFront;
  return extent.x <= thin ? kRight : kIso;
}

View::View(Direction direction) {
  constexpr float kDegree = std::numbers::pi_v<float> / 180;
  const float azimuth = direction.azimuth * kDegree;
  const float elevation = direction.elevation * kDegree;
  // Right is always level, so that z stays upright.
  right_ = {std::cos(azimuth), std::sin(azimuth), 0};
  towards_ = {std::cos(elevation) * std::sin(azimuth), -std::cos(elevation) * std::cos(azimuth),
              std::sin(elevation)};
  up_ = cross(towards_, right_);
}

void View::fit(const Box& turnedBox, Place corner, Place otherCorner) {
  const Vector extent = turnedBox.extent();
  centre_ = (turnedBox.least + turnedBox.most) * 0.5F;
  middle_ = {(corner.x + otherCorner.x) / 2, (corner.y + otherCorner.y) / 2};
  const float width = otherCorner.x - corner.x;
  const float height = otherCorner.y - corner.y;
  // A single point has no size that could be fitted.
  const float least = std::max(length(extent) * 1e-6F, std::numeric_limits<float>::min());
  scale_ = std::min(width / std::max(extent.x, least), height / std::max(extent.y, least));
}

}  // namespace morvex::picture

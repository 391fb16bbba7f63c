#pragma once

#include <cmath>

namespace morvex::picture {

/// A point or direction; in model space, or in view space with x to the right, y up and z towards
/// the viewer.
struct Vector {
  float x = 0;
  float y = 0;
  float z = 0;
};

[[nodiscard]] constexpr Vector operator+(Vector a, Vector b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
[[nodiscard]] constexpr Vector operator-(Vector a, Vector b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
[[nodiscard]] constexpr Vector operator*(Vector a, float factor) {
  return {a.x * factor, a.y * factor, a.z * factor};
}
[[nodiscard]] constexpr float dot(Vector a, Vector b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] constexpr Vector cross(Vector a, Vector b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] inline float length(Vector a) {
  return std::sqrt(dot(a, a));
}
/// Length 1; the null vector stays what it is.
[[nodiscard]] inline Vector normalized(Vector a) {
  const float size = length(a);
  return size > 0 ? a * (1 / size) : a;
}

}  // namespace morvex::picture

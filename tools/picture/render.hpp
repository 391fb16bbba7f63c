#pragma once

#include <optional>
#include <string>

#include "picture/scene.hpp"

namespace morvex::picture {

/// A detail: what is within a distance of a point.
struct Focus {
  Vector centre;
  float radius = 1;
};

/// How a scene is drawn.
struct Style {
  Size size{1200, 900};
  std::optional<Direction> direction;  ///< else the usual one for the model
  std::optional<Focus> focus;          ///< else the whole model
  bool hasEdges = false;               ///< of elements
  bool isPlain = false;                ///< without background, legend, axes and title
  std::string title;                   ///< in the upper left corner
};

/// The picture. Only a plain one may have pixels that nothing covers.
[[nodiscard]] Image render(const Scene& scene, const Style& style);

}  // namespace morvex::picture

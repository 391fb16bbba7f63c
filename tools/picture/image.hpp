#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "picture/color.hpp"

namespace morvex::picture {

struct Size {
  int width = 0;
  int height = 0;
};

/// A place in an image, in pixels from the upper left corner; pixel centres are at halves.
struct Place {
  float x = 0;
  float y = 0;
};

/// A picture, row by row from the top. Coverage is 0 where nothing was drawn and 1 where no
/// background shows through.
class Image {
 public:
  explicit Image(Size size)
      : size_(size),
        colors_(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height)),
        coverage_(colors_.size()) {}

  [[nodiscard]] Size size() const noexcept { return size_; }
  [[nodiscard]] Color color(int x, int y) const { return colors_[index(x, y)]; }
  [[nodiscard]] float coverage(int x, int y) const { return coverage_[index(x, y)]; }

  void set(int x, int y, Color color, float coverage);
  /// Draws over what is there, with an opacity from 0 to 1. Pixels outside are ignored.
  void blend(int x, int y, Color color, float opacity);
  /// Pixels from x and y on, `size` of them. Outside ones are ignored.
  void fill(int x, int y, Size size, Color color);
  /// A straight line with round ends, smoothed.
  void line(Place from, Place to, float width, Color color);
  /// Draws what is not covered yet: `top` in the first row, `bottom` in the last, between them a
  /// gradient.
  void fillBackground(Color top, Color bottom);

 private:
  [[nodiscard]] std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
           static_cast<std::size_t>(x);
  }

  Size size_;
  std::vector<Color> colors_;
  std::vector<float> coverage_;
};

/// Text of one line in a built-in face of strokes; characters other than printable ASCII are shown
/// as '?'. `height` is that of a capital letter in pixels, `at` the left end of the baseline.
void drawText(Image& image, Place at, float height, Color color, std::string_view text);
/// Pixels that a text takes in the width.
[[nodiscard]] float textWidth(std::string_view text, float height);
/// The text, or its beginning and an ellipsis where it is wider than `width`.
[[nodiscard]] std::string fittingText(std::string_view text, float height, float width);

/// The bytes of a PNG file. std::runtime_error with libpng's reason.
[[nodiscard]] std::string pngOf(const Image& image);

/// Lines of half blocks in 24-bit colours for a terminal, two rows of pixels in each. What is not
/// covered keeps the terminal's background.
[[nodiscard]] std::string halfBlocksOf(const Image& image);

}  // namespace morvex::picture

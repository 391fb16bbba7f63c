#include "picture/image.hpp"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace morvex::picture {

void Image::set(int x, int y, Color color, float coverage) {
  colors_[index(x, y)] = color;
  coverage_[index(x, y)] = coverage;
}

void Image::blend(int x, int y, Color color, float opacity) {
  if (x < 0 || y < 0 || x >= size_.width || y >= size_.height || opacity <= 0) return;
  const std::size_t at = index(x, y);
  const float before = coverage_[at] * (1 - opacity);
  // The colour is that of the covered share alone; a background may come later.
  coverage_[at] = before + opacity;
  colors_[at] = mixed(colors_[at], color, opacity / coverage_[at]);
}

void Image::fill(int x, int y, Size size, Color color) {
  for (int row = y; row < y + size.height; ++row) {
    for (int column = x; column < x + size.width; ++column) blend(column, row, color, 1);
  }
}

void Image::line(Place from, Place to, float width, Color color) {
  const float dx = to.x - from.x;
  const float dy = to.y - from.y;
  const float square = dx * dx + dy * dy;
  const float reach = width / 2 + 1;  // the smoothed border is one pixel wide
  const auto first = [reach](float a, float b) {
    return static_cast<int>(std::floor(std::min(a, b) - reach));
  };
  const auto last = [reach](float a, float b) {
    return static_cast<int>(std::ceil(std::max(a, b) + reach));
  };
  for (int y = first(from.y, to.y); y <= last(from.y, to.y); ++y) {
    for (int x = first(from.x, to.x); x <= last(from.x, to.x); ++x) {
      const float px = static_cast<float>(x) + 0.5F - from.x;
      const float py = static_cast<float>(y) + 0.5F - from.y;
      const float along = square > 0 ? std::clamp((px * dx + py * dy) / square, 0.0F, 1.0F) : 0.0F;
      // Coverage of a pixel by its distance from the line's border: no samples are needed.
      const float distance = std::hypot(px - along * dx, py - along * dy);
      blend(x, y, color, std::clamp(width / 2 + 0.5F - distance, 0.0F, 1.0F));
    }
  }
}

void Image::fillBackground(Color top, Color bottom) {
  const float rows = static_cast<float>(std::max(1, size_.height - 1));
  for (int y = 0; y < size_.height; ++y) {
    const Color behind = mixed(top, bottom, static_cast<float>(y) / rows);
    for (int x = 0; x < size_.width; ++x) {
      const std::size_t at = index(x, y);
      set(x, y, mixed(behind, colors_[at], coverage_[at]), 1);
    }
  }
}

std::string pngOf(const Image& image) {
  const Size size = image.size();
  std::string pixels;
  pixels.reserve(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 3);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const Color color = image.color(x, y);
      for (const std::uint8_t channel : {color.red, color.green, color.blue}) {
        pixels.push_back(static_cast<char>(channel));
      }
    }
  }
  // The simplified interface reports failures by return: no jumps out of the library.
  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  header.width = static_cast<png_uint_32>(size.width);
  header.height = static_cast<png_uint_32>(size.height);
  header.format = PNG_FORMAT_RGB;
  png_alloc_size_t bytes = PNG_IMAGE_PNG_SIZE_MAX(header);
  std::string file(bytes, '\0');
  if (png_image_write_to_memory(&header, file.data(), &bytes, 0, pixels.data(), 0, nullptr) == 0) {
    throw std::runtime_error(std::string("the picture: ") + header.message);
  }
  file.resize(bytes);
  return file;
}

std::string halfBlocksOf(const Image& image) {
  const auto code = [](const char* kind, Color color) {
    return std::string("\x1b[") + kind + ";2;" + std::to_string(color.red) + ";" +
           std::to_string(color.green) + ";" + std::to_string(color.blue) + "m";
  };
  // A terminal has no half-covered pixels.
  constexpr float kSeen = 0.5F;
  const Size size = image.size();
  std::string text;
  for (int y = 0; y < size.height; y += 2) {
    for (int x = 0; x < size.width; ++x) {
      const bool upper = image.coverage(x, y) >= kSeen;
      const bool lower = y + 1 < size.height && image.coverage(x, y + 1) >= kSeen;
      // An upper half block has its own colour above and the background's below.
      text += "\x1b[0m";
      if (upper && lower) text += code("48", image.color(x, y + 1));
      if (upper) text += code("38", image.color(x, y)) + "\u2580";
      if (!upper && lower) text += code("38", image.color(x, y + 1)) + "\u2584";
      if (!upper && !lower) text += " ";
    }
    text += "\x1b[0m\n";
  }
  return text;
}

}  // namespace morvex::picture

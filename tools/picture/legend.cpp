#include "picture/legend.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "common/text_table.hpp"

namespace morvex::picture {
namespace {

/// As many digits as tell apart the ticks of a legend with that span.
std::string tickText(float value, float span) {
  std::array<char, 64> text{};
  const double exponent = span > 0 ? std::floor(std::log10(static_cast<double>(span))) : 0;
  constexpr double kMostDecimals = 6;
  const double magnitude = std::abs(static_cast<double>(value));
  if (span <= 0 || exponent < 3 - kMostDecimals || magnitude >= 1e6) {
    std::snprintf(text.data(), text.size(), "%.4g", static_cast<double>(value));
    return text.data();
  }
  const int decimals = static_cast<int>(std::max(0.0, 3 - exponent));
  std::snprintf(text.data(), text.size(), "%.*f", decimals, static_cast<double>(value));
  std::string shown = text.data();
  if (decimals > 0) {
    shown.erase(shown.find_last_not_of('0') + 1);
    if (shown.ends_with('.')) shown.pop_back();
  }
  return shown == "-0" ? "0" : shown;
}

std::vector<std::string> footLines(const Scene& scene) {
  if (!scene.isTimed) return {};
  return {"step " + std::to_string(scene.step), "time " + tools::numberText(scene.time)};
}

/// Draws downwards from a place, line by line.
class Column {
 public:
  Column(Image& image, Place at, float text, float width)
      : image_(image), at_(at), text_(text), width_(width) {}

  void line(std::string_view text) {
    drawText(image_, {at_.x, at_.y + text_}, text_, kInk, fittingText(text, text_, width_));
    at_.y += lineHeight();
  }
  /// A field of colour and what it means.
  void entry(Color color, std::string_view text) {
    const int side = static_cast<int>(text_ * 1.2F);
    const float indent = text_ * 2;
    image_.fill(static_cast<int>(at_.x), static_cast<int>(at_.y), {side, side}, color);
    drawText(image_, {at_.x + indent, at_.y + text_ * 1.1F}, text_, kInk,
             fittingText(text, text_, width_ - indent));
    at_.y += lineHeight();
  }
  void colorBar(std::pair<float, float> range, float height) {
    constexpr int kTicks = 6;
    const int width = static_cast<int>(text_ * 1.6F);
    const int left = static_cast<int>(at_.x);
    const int top = static_cast<int>(at_.y + text_ / 2);
    const int rows = static_cast<int>(height);
    // Row by row, with the largest value on top.
    for (int row = 0; row < rows; ++row) {
      const float place = 1 - (static_cast<float>(row) + 0.5F) / static_cast<float>(rows);
      image_.fill(left, top + row, {width, 1}, mapColor(place));
    }
    for (int tick = 0; tick < kTicks; ++tick) {
      const float part = static_cast<float>(tick) / static_cast<float>(kTicks - 1);
      const float y = static_cast<float>(top) + static_cast<float>(rows) * (1 - part);
      const float x = static_cast<float>(left + width);
      // Inside of the bar: beside it, a tick would look like a minus.
      image_.line({x - text_ * 0.4F, y}, {x, y}, std::max(1.0F, text_ / 10), {255, 255, 255});
      const float value = range.first + (range.second - range.first) * part;
      drawText(image_, {x + text_ * 0.8F, y + text_ / 2}, text_, kInk,
               tickText(value, range.second - range.first));
    }
    at_.y += text_ / 2 + height + lineHeight();
  }
  [[nodiscard]] float lineHeight() const { return text_ * 1.9F; }
  void skip(float height) { at_.y += height; }

 private:
  Image& image_;
  Place at_;
  float text_;
  float width_;
};

void drawLegend(Image& image, const Scene& scene, const Layout& layout) {
  const auto width = static_cast<float>(image.size().width) - layout.legend - layout.text;
  const auto height = static_cast<float>(image.size().height);
  if (!scene.variable.empty()) {
    Column column(image, {layout.legend, height * 0.16F}, layout.text, width);
    column.line(scene.variable);
    column.skip(layout.text * 0.4F);
    column.colorBar(scene.range, height * 0.5F);
    if (scene.hasMissing) column.entry(kMissing, "no value");
    for (const std::string& line : footLines(scene)) column.line(line);
    return;
  }
  constexpr std::size_t kMostParts = 16;  // what fits beside the model at any size
  Column column(image, {layout.legend, height * 0.12F}, layout.text, width);
  for (std::size_t i = 0; i < std::min(kMostParts, scene.parts.size()); ++i) {
    const DrawnPart& part = scene.parts[i];
    const auto number = static_cast<std::size_t>(part.number);
    column.entry(distinctColor(number),
                 part.name.empty() ? "part " + std::to_string(number) : part.name);
  }
  if (scene.parts.size() > kMostParts) {
    column.line("and " + std::to_string(scene.parts.size() - kMostParts) + " more");
  }
  if (!scene.particles.empty()) column.entry(kParticles, "particles");
  column.skip(layout.text);
  for (const std::string& line : footLines(scene)) column.line(line);
}

/// The directions of x, y and z, those that point away from the viewer first.
void drawAxes(Image& image, const View& view, float text) {
  struct Axis {
    Vector tip;
    Color color;
    const char* name;
  };
  std::array<Axis, 3> axes{{{view.turned({1, 0, 0}), {200, 62, 56}, "x"},
                            {view.turned({0, 1, 0}), {58, 148, 72}, "y"},
                            {view.turned({0, 0, 1}), {52, 98, 190}, "z"}}};
  std::ranges::sort(axes, {}, [](const Axis& axis) { return axis.tip.z; });
  const float size = text * 3.4F;
  // Room on the left and below for an axis and its name in any direction.
  const Place origin{text * 1.5F + size, static_cast<float>(image.size().height) - text * 2 - size};
  for (const Axis& axis : axes) {
    const auto at = [&](float part) {
      return Place{origin.x + axis.tip.x * size * part, origin.y - axis.tip.y * size * part};
    };
    image.line(origin, at(1), std::max(1.5F, text / 5), axis.color);
    // An axis that points to the viewer has no room for its name beside its tip.
    constexpr float kSeen = 0.2F;
    if (std::hypot(axis.tip.x, axis.tip.y) < kSeen) continue;
    const Place middle = at(1 + text * 0.9F / size / std::hypot(axis.tip.x, axis.tip.y));
    drawText(image, {middle.x - textWidth(axis.name, text) / 2, middle.y + text * 0.35F}, text,
             axis.color, axis.name);
  }
}

}  // namespace

Layout layoutOf(const Scene& scene, const Style& style) {
  constexpr float kReadable = 6;  // pixels
  const auto width = static_cast<float>(style.size.width);
  const auto height = static_cast<float>(style.size.height);
  Layout layout;
  const float margin = style.isPlain ? 0 : 0.04F * std::min(width, height);
  layout.corner = {margin, margin};
  layout.otherCorner = {width - margin, height - margin};
  // 14 pixels in a picture of 1200 x 900: readable in a report that shows it at half the width.
  const float text = std::min(height / 62, width / 80);
  if (style.isPlain || text < kReadable) return layout;
  layout.text = text;
  float legend = text * 9;  // at least as wide as a number beside the colour bar
  const auto widen = [&](float needed) { legend = std::max(legend, std::min(needed, text * 18)); };
  widen(textWidth(scene.variable, text));
  if (scene.variable.empty()) {
    for (const DrawnPart& part : scene.parts) widen(textWidth(part.name, text) + text * 2);
  }
  layout.legend = width - legend - text * 2;
  layout.otherCorner.x = layout.legend - text * 2;
  layout.corner.y += text * 1.5F;
  return layout;
}

void decorate(Image& image, const Scene& scene, const Style& style, const View& view,
              const Layout& layout) {
  if (layout.text <= 0) return;
  drawLegend(image, scene, layout);
  drawAxes(image, view, layout.text);
  drawText(image, {layout.text * 1.5F, layout.text * 2.5F}, layout.text, kInk,
           fittingText(style.title, layout.text, layout.legend - layout.text * 3));
}

}  // namespace morvex::picture

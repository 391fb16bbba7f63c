// Letters of straight strokes, as plotters draw them: sharp at any size and without a font file.

#include <algorithm>
#include <array>

#include "picture/image.hpp"

namespace morvex::picture {
namespace {

/// The strokes of the characters from ' ' to '~'. Two digits are a point: x from 0 to 4, and y
/// upwards with the baseline at 2, small letters up to 6 and capitals up to 8. A blank lifts the
/// pen; a single point is a dot.
// clang-format off
constexpr std::array<std::string_view, 95> kStrokes{
    "", "2824 22", "1816 3836", "1317 3337 0444 0646",                               // blank ! " #
    "473818070615354443321203 2921", "0248 0708181707 3233434232",                   // $ %
    "4206071827260403122244", "2826", "38272332", "18272312", "2723 0644 0446",      // & ' ( ) *
    "2723 0545", "2211", "0545", "22", "0248", "183847433212030718",                 // + , - . / 0
    "072822 1232", "07183847460242", "07183847463515 354443321203", "32380444",      // 1 2 3 4
    "480805354443321203", "4738180703123243443505", "084812",                        // 5 6 7
    "18384746351504031232434435 15060718", "0312324347381807061545", "25 22",        // 8 9 :
    "25 2211", "470543", "0646 0444", "074503", "07183847462524 22",                 // ; < = > ?
    "32120307183847443424263634", "022842 1434", "02083847463505 3544433202",        // @ A B
    "4738180703123243", "02083847433202", "48080242 0535", "480802 0535",            // C D E F
    "47381807031232434525", "0208 4248 0545", "1838 2822 1232", "4843321203",        // G H I J
    "0208 480542", "080242", "0208254842", "02084248", "183847433212030718",         // K L M N O
    "02083847463505", "183847433212030718 2442", "02083847463505 2542",              // P Q R
    "473818070615354443321203", "0848 2822", "080312324348", "082248",               // S T U V
    "0812253248", "0248 0842", "082548 2522", "08480242", "38282232", "0842",        // W X Y Z [ '\'
    "18282212", "062846", "0141", "1827", "4642 4536160503123243",                   // ] ^ _ ` a
    "0802 0516364543321203", "4536160503123243", "4842 4536160503123243",            // b c d
    "04444536160503123243", "382722 1636", "4641301001 4536160503123243",            // e f g
    "0802 0516364542", "2622 28", "262110 28", "0802 460442", "2822",                // h i j k l
    "0602 05162522 25364542", "0602 0516364542", "163645433212030516",               // m n o
    "0600 0516364543321203", "4640 4536160503123243", "0602 05163645",               // p q r
    "45361605143443321203", "282332 1636", "0603123243 4642", "062246",              // s t u v
    "0612253246", "0246 0642", "0622 4610", "06460242", "38272615242332", "2820",    // w x y z { |
    "18272635242312", "04153445"};                                                     // } ~
// clang-format on

/// Widths in units of the strokes, the height of capitals being 6.
constexpr float kCapital = 6;
constexpr float kSpace = 3;
constexpr float kGap = 1.9F;
constexpr float kNarrow = 0.9F;

std::string_view strokesOf(char character) {
  const bool isKnown = character >= ' ' && character <= '~';
  return kStrokes[static_cast<std::size_t>((isKnown ? character : '?') - ' ')];
}

struct Extent {
  int left = 4;
  int right = 0;
};

Extent extentOf(std::string_view strokes) {
  Extent extent;
  for (std::size_t i = 0; i < strokes.size(); i += strokes[i] == ' ' ? 1 : 2) {
    if (strokes[i] == ' ') continue;
    extent.left = std::min(extent.left, strokes[i] - '0');
    extent.right = std::max(extent.right, strokes[i] - '0');
  }
  return extent;
}

/// Units from the left end of a character to that of the next.
float advanceOf(std::string_view strokes) {
  if (strokes.empty()) return kSpace;
  const Extent extent = extentOf(strokes);
  return static_cast<float>(extent.right - extent.left) * kNarrow + kGap;
}

}  // namespace

void drawText(Image& image, Place at, float height, Color color, std::string_view text) {
  const float unit = height / kCapital;
  const float width = std::max(1.0F, height / 8);
  for (const char character : text) {
    const std::string_view strokes = strokesOf(character);
    const int left = strokes.empty() ? 0 : extentOf(strokes).left;
    const auto place = [&](std::size_t i) {
      return Place{at.x + static_cast<float>(strokes[i] - '0' - left) * kNarrow * unit,
                   at.y - static_cast<float>(strokes[i + 1] - '2') * unit};
    };
    // The end of one stroke is the beginning of the next, until a blank.
    bool isDown = false;
    for (std::size_t i = 0; i < strokes.size(); i += strokes[i] == ' ' ? 1 : 2) {
      const bool isLifted = strokes[i] == ' ';
      if (!isLifted) image.line(isDown ? place(i - 2) : place(i), place(i), width, color);
      isDown = !isLifted;
    }
    at.x += advanceOf(strokes) * unit;
  }
}

// The gap after the last character is no part of the text.
float textWidth(std::string_view text, float height) {
  float units = 0;
  for (const char character : text) units += advanceOf(strokesOf(character));
  return text.empty() ? 0 : (units - kGap) * height / kCapital;
}

std::string fittingText(std::string_view text, float height, float width) {
  if (textWidth(text, height) <= width) return std::string(text);
  std::string shown(text);
  while (!shown.empty() && textWidth(shown + "...", height) > width) shown.pop_back();
  return shown + "...";
}

}  // namespace morvex::picture

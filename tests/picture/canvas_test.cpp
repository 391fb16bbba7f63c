// What is drawn covers the right pixels, in the right order and colour.
#include "picture/canvas.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "picture/coloring.hpp"

namespace {

using namespace morvex::picture;

Corner at(float x, float y, float z, float value = 0) {
  return {{x, y, z}, {0, 0, 1}, value};
}
const Paint kRed{false, {200, 0, 0}};
const Paint kBlue{false, {0, 0, 200}};

TEST(Canvas, TwoTrianglesCoverASquareWithoutAGap) {
  Canvas canvas({16, 16});
  canvas.triangle(at(2, 3, 0), at(12, 3, 0), at(12, 9, 0), kRed);
  canvas.triangle(at(2, 3, 0), at(2, 9, 0), at(12, 9, 0), kRed);  // in the other sense
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 16; ++x) {
      const bool isInside = x >= 2 && x < 12 && y >= 3 && y < 9;
      EXPECT_EQ(canvas.depth(x, y) != kEmpty, isInside) << x << ", " << y;
    }
  }
}

TEST(Canvas, TheNearerOneIsSeenWhateverTheOrder) {
  for (const bool nearFirst : {true, false}) {
    Canvas canvas({8, 8});
    const auto draw = [&](float z, const Paint& paint) {
      canvas.triangle(at(-50, -50, z), at(100, 0, z), at(0, 100, z), paint);
    };
    draw(nearFirst ? 2.0F : 1.0F, nearFirst ? kRed : kBlue);
    draw(nearFirst ? 1.0F : 2.0F, nearFirst ? kBlue : kRed);
    EXPECT_GT(canvas.color(4, 4).red, canvas.color(4, 4).blue);
    EXPECT_EQ(canvas.depth(4, 4), 2.0F);
  }
}

TEST(Canvas, ValuesThatAreNoNumbersAreGreyAndPlacesThatAreNoneAreNotDrawn) {
  Canvas canvas({8, 8});
  const Paint mapped{true, {}};
  canvas.line(at(0, 4, 0, NAN), at(8, 4, 0, NAN), 2, mapped);
  EXPECT_EQ(canvas.color(4, 4), kMissing);
  Canvas other({8, 8});
  for (const float bad : {NAN, INFINITY, -INFINITY}) {
    other.triangle(at(bad, 0, 0), at(8, 0, 0), at(0, 8, 0), kRed);
    other.line(at(0, bad, 0), at(8, 8, 0), 2, kRed);
    other.ball(at(bad, 4, 0), 3, 1, kRed);
  }
  EXPECT_EQ(other.depth(4, 4), kEmpty);
}

TEST(Canvas, ReducedPixelsAreMeansOfWhatIsCovered) {
  Canvas canvas({4, 4});
  canvas.line(at(0.5F, 0.5F, 0), at(0.5F, 0.5F, 0), 0.5F, kRed);
  const Image image = canvas.reduced(2);
  EXPECT_EQ(image.size().width, 2);
  EXPECT_EQ(image.color(0, 0), kRed.color);
  EXPECT_FLOAT_EQ(image.coverage(0, 0), 0.25F);
  EXPECT_EQ(image.coverage(1, 1), 0);
}

TEST(MapColor, EndsAndOrderAreThoseOfTheMap) {
  EXPECT_EQ(mapColor(0), (Color{0x44, 0x01, 0x54}));
  EXPECT_EQ(mapColor(1), (Color{0xfd, 0xe7, 0x25}));
  EXPECT_EQ(mapColor(-5), mapColor(0));
  EXPECT_EQ(mapColor(7), mapColor(1));
  for (int i = 1; i <= 100; ++i) {  // lighter all the way, so that a grey print reads the same
    const auto light = [](Color c) { return 0.3 * c.red + 0.59 * c.green + 0.11 * c.blue; };
    EXPECT_GT(light(mapColor(static_cast<float>(i) / 100)),
              light(mapColor(static_cast<float>(i - 1) / 100)));
  }
}

TEST(View, NamedDirectionsTurnTheAxesAsTheySay) {
  const auto turned = [](const char* name, Vector v) { return View(*directionOf(name)).turned(v); };
  EXPECT_NEAR(turned("front", {1, 0, 0}).x, 1, 1e-6);
  EXPECT_NEAR(turned("front", {0, 0, 1}).y, 1, 1e-6);
  EXPECT_NEAR(turned("right", {1, 0, 0}).z, 1, 1e-6);
  EXPECT_NEAR(turned("left", {0, 1, 0}).x, -1, 1e-6);
  EXPECT_NEAR(turned("back", {0, 1, 0}).z, 1, 1e-6);
  EXPECT_NEAR(turned("top", {0, 1, 0}).y, 1, 1e-6);
  EXPECT_NEAR(turned("bottom", {0, 0, 1}).z, -1, 1e-6);
  EXPECT_NEAR(turned("90,0", {1, 0, 0}).z, 1, 1e-6);
  for (const char* bad : {"", "up", "30", "30,", ",20", "30,20,10", "0,91", "nan,0", "30;20"}) {
    EXPECT_FALSE(directionOf(bad)) << bad;
  }
}

TEST(ReducedValues, EquivalentValueOfSimpleStressesIsTheirTextbookValue) {
  EXPECT_EQ(reducedValues({3, 4, 0, 0, 0, 2}, 3), (std::vector<float>{5, 2}));
  const auto values = reducedValues({7, 0, 0, 0, 0, 0, /* shear */ 0, 0, 0, 0, 2, 0,
                                     /* pressure */ 5, 5, 5, 0, 0, 0},
                                    6);
  EXPECT_FLOAT_EQ(values[0], 7);
  EXPECT_FLOAT_EQ(values[1], 2 * std::sqrt(3.0F));
  EXPECT_EQ(values[2], 0);
}

}  // namespace

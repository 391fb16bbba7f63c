#include <gtest/gtest.h>

#include "bytes_builder.hpp"
#include "core/error.hpp"
#include "metadata/con_params.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "support/log_capture.hpp"

namespace morvex {
namespace {

using Words = std::vector<std::uint32_t>;

TEST(TimeSetRecord, ANegativeStartIsFollowedByAListOfFileNumbers) {
  BytesBuilder bytes(0, 0, 0);
  bytes.u32({9}).u64({4}).text(std::string_view("a\0bc", 4)).i32({2}).f32({0.5F, 1.5F});
  bytes.i32({-7}).u32({70, 80});
  const auto set = readTimeSet(bytes.bytes(), 3);
  EXPECT_EQ(set->id(), 9U);
  EXPECT_EQ(set->index(), 3U);
  EXPECT_EQ(set->description(), "a");
  EXPECT_EQ(set->numberOfSteps(), 2);
  EXPECT_EQ(set->timeValues(), (std::vector<float>{0.5F, 1.5F}));
  EXPECT_EQ(set->filenameStart(), -7);
  EXPECT_EQ(set->filenameNumbers(), (Words{70, 80}));
  EXPECT_EQ(set->filenameIncrement(), 0U);
}

TEST(TimeSetRecord, AStartOfZeroIsFollowedByTheIncrement) {
  const auto set = readTimeSet(
      BytesBuilder(0, 0, 0).u32({1}).u64({0}).i32({1}).f32({2.0F}).i32({0}).u32({5}).bytes(), 0);
  EXPECT_EQ(set->filenameStart(), 0);
  EXPECT_EQ(set->filenameIncrement(), 5U);
  EXPECT_TRUE(set->filenameNumbers().empty());
}

TEST(TimeSetRecord, WithoutPositiveStepsNothingFollowsANegativeStart) {
  for (const std::int32_t steps : {0, -1, std::int32_t{-0x7FFFFFFF}}) {
    const auto set =
        readTimeSet(BytesBuilder(0, 0, 0).u32({1}).u64({0}).i32({steps}).i32({-1}).bytes(), 0);
    EXPECT_EQ(set->numberOfSteps(), steps);
    EXPECT_TRUE(set->timeValues().empty());
    EXPECT_TRUE(set->filenameNumbers().empty());
  }
}

TEST(FileSetRecord, HasThreeWords) {
  const auto set = readFileSet(BytesBuilder(0, 0, 0).u32({4, 5, 6}).bytes(), 7);
  EXPECT_EQ(set->id(), 4U);
  EXPECT_EQ(set->index(), 7U);
  EXPECT_EQ(set->numberOfSteps(), 5U);
  EXPECT_EQ(set->fileIndex(), 6U);
}

TEST(StepBoxes, GoToTheStatesInOrder) {
  const BytesBuilder bytes = BytesBuilder(0, 0, 0).u64({1}).f32({1, 2, 3, 4, 5, 6});
  std::vector<GeometryMetadata> states(2);
  const Kelbor::LogCapture log(Kelbor::LogLevel::warning);
  readMetaPerTimeStep(bytes.bytes(), states);
  EXPECT_EQ(states[0].boundingBox, (StoredBox{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(states[1].boundingBox, kInvertedBox);
  EXPECT_EQ(log.text(), "");
}

TEST(StepBoxes, ThoseBeyondTheStatesAreReadOverWithOneWarning) {
  BytesBuilder bytes(0, 0, 0);
  bytes.u64({3});
  for (float step = 0; step < 3; ++step) bytes.f32({step, step, step, step, step, step});
  std::vector<GeometryMetadata> states(1);
  const Kelbor::LogCapture log(Kelbor::LogLevel::warning);
  readMetaPerTimeStep(bytes.bytes(), states);
  readMetaPerTimeStep(bytes.bytes(), {});
  EXPECT_EQ(states[0].boundingBox, (StoredBox{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(log.text(),
            "WARNING: Bounding boxes for 3 time steps, but only 1 stored states: the rest is "
            "ignored\n"
            "WARNING: Bounding boxes for 3 time steps, but only 0 stored states: the rest is "
            "ignored\n");
}

TEST(TimeDifferencesRecord, HoldsBlockSizeThenDepth) {
  const auto record = readCompressTimeDiffsMetaData(BytesBuilder(0, 0, 0).u32({8, 3}).bytes());
  EXPECT_EQ(record.blockSize, 8U);
  EXPECT_EQ(record.maxDepth, 3U);
}

TEST(RecipeParameters, CountsBelowOneAreEmpty) {
  for (const std::int32_t count : {0, -1, -0x7FFFFFFF}) {
    EXPECT_TRUE(readRecipeConParams(BytesBuilder(0, 0, 0).i32({count}).bytes()).empty());
  }
  const auto blocks = readRecipeConParams(
      BytesBuilder(0, 0, 0).i32({3, 2}).u8({1, 2}).i32({-5, 1}).u8({3}).bytes());
  EXPECT_EQ(blocks, (std::vector<std::vector<std::byte>>{
                        {std::byte{1}, std::byte{2}}, {}, {std::byte{3}}}));
}

}  // namespace
}  // namespace morvex

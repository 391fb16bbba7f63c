#include <gtest/gtest.h>

#include <stdexcept>

#include "core/error.hpp"
#include "metadata/con_params.hpp"
#include "metadata/geometry_records.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "metadata/variable_records.hpp"
#include "record_samples.hpp"
#include "support/log_capture.hpp"
#include "support/message_of.hpp"

namespace morvex {
namespace {

using Words = std::vector<std::uint32_t>;
using Sizes = std::vector<std::uint64_t>;
using Texts = std::vector<std::string>;

TEST(GeometryRecord, StatesAreHeldAgainstTheRecord) {
  Writer::ByteWriter bytes({0, 0, 0});
  const auto read = [&](const Words& states) {
    return readGeometryMetadata(bytes.bytes(), sampleCase(), states);
  };
  appendState(bytes, {});
  EXPECT_EQ(read({1, 0})[0].size(), 1U) << "a state without parts may end with the record";
  EXPECT_THROW((void)read({0xFFFFFFFF, 0}), InternalError);
  EXPECT_THROW((void)read({1}), std::out_of_range);
  appendState(bytes, Texts(40, "part"));
  EXPECT_EQ(read({1, 1})[1][0].numParts, 40U) << "so may one with many";
}

TEST(GeometryRecord, OnlyChangingConnectivityHasAStateForEachStep) {
  CaseMetaData context = sampleCase();
  EXPECT_EQ(geometryStateCounts(context), (Words{1, 2}));
  context.geometryChangeTypes = {2, 1};
  EXPECT_EQ(geometryStateCounts(context), (Words{1, 1}));
  context.geometryChangeTypes = {0, 3};  // an unknown type shifts the counts behind it
  EXPECT_EQ(geometryStateCounts(context), Words{2});
  context.geometryChangeTypes = {3, 1};  // geometry 0 has no time set
  EXPECT_EQ(messageOf<std::out_of_range>([&] { (void)geometryStateCounts(context); }),
            "invalid vector<T> subscript");
}

TEST(VariableRecord, BelowMinorVersionOneDatasetsGoByTheNames) {
  for (const std::uint32_t patch : {0U, 5U}) {
    const VariableMetaData record =
        readVariableMetaData(variableBytes({0, 0, patch}).bytes(), 2, 4, Sizes{2, 9});
    EXPECT_EQ(record.datasetNames, (Texts{"temp", "c"}));
    EXPECT_EQ(record.usesTimeDiffs, (std::vector<bool>{true, false}));
  }
}

TEST(VariableRecord, WhatTheContextClaimsIsHeldAgainstTheRecord) {
  const Writer::ByteWriter bytes = variableBytes({0, 1, 0});
  const auto read = [&](std::uint64_t variables, std::uint64_t width, const Sizes& parts) {
    (void)readVariableMetaData(bytes.bytes(), variables, width, parts);
  };
  const Sizes parts{2, 9};
  EXPECT_THROW(read(1ULL << 61, 4, parts), InternalError);
  EXPECT_THROW(read(~0ULL, 0, parts), InternalError);
  EXPECT_THROW(read(2, ~0ULL, parts), InternalError);
  EXPECT_THROW(read(0, (1ULL << 20) + 1, parts), InternalError);
  EXPECT_THROW(read(2, 4, {~0ULL, 9}), InternalError);
  EXPECT_EQ(messageOf<std::out_of_range>([&] { read(2, 4, {}); }), "invalid vector<T> subscript");
}

TEST(OctreeRecord, GeometryZeroDecidesForAll) {
  CaseMetaData context = sampleCase();
  context.geometryChangeTypes = {2, 3};
  EXPECT_EQ(octreeStateCounts(context), (Words{1, 1}));
  context.geometryChangeTypes = {3, 1};
  context.geometryTimesets = {0, 1};
  EXPECT_EQ(octreeStateCounts(context), (Words{4, 2}));
  context.geometryTimesets = {0, kNoTimeset};
  EXPECT_THROW((void)octreeStateCounts(context), std::out_of_range);
  EXPECT_TRUE(octreeStateCounts(CaseMetaData{}).empty());
}

TEST(TimeSetRecord, AStartOfZeroOrMoreIsFollowedByTheIncrement) {
  Writer::ByteWriter bytes({0, 0, 0});
  bytes.u32({1}).u64({4}).text(std::string_view("a\0bc", 4)).i32({1}).f32({2.0F}).i32({0}).u32({5});
  const auto set = readTimeSet(bytes.bytes(), 3);
  EXPECT_EQ(set->index(), 3U);
  EXPECT_EQ(set->description(), "a") << "a text ends at its first zero, its length is taken";
  EXPECT_EQ(set->filenameIncrement(), 5U);
  EXPECT_TRUE(set->filenameNumbers().empty());
}

TEST(StepBoxes, GoToTheStatesInOrderAndMoreAreReadOverWithOneWarning) {
  constexpr StoredBox kFirst{1, 2, 3, 4, 5, 6};
  constexpr StoredBox kSecond{7, 8, 9, 10, 11, 12};
  const auto read = [](std::size_t stateCount) {
    Writer::ByteWriter bytes({0, 0, 0});
    bytes.u64({2}).f32({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    std::vector<GeometryMetadata> states(stateCount);
    readMetaPerTimeStep(bytes.bytes(), states);
    return states;
  };
  const Kelbor::LogCapture log(Kelbor::LogLevel::kWarning);
  const auto states = read(3);
  EXPECT_EQ(states[0].boundingBox, kFirst);
  EXPECT_EQ(states[1].boundingBox, kSecond);
  EXPECT_EQ(states[2].boundingBox, kInvertedBox);
  (void)read(2);
  EXPECT_EQ(log.text(), "");
  EXPECT_EQ(read(1)[0].boundingBox, kFirst);
  (void)read(0);
  const std::string boxes = "WARNING: Bounding boxes for 2 time steps, but only ";
  EXPECT_EQ(log.text(), boxes + "1 stored states: the rest is ignored\n" + boxes +
                            "0 stored states: the rest is ignored\n");
}

TEST(RecipeParameters, CountsBelowOneAreEmpty) {
  for (const std::int32_t count : {0, -1, -0x7FFFFFFF}) {
    EXPECT_TRUE(readRecipeConParams(Writer::ByteWriter({0, 0, 0}).i32({count}).bytes()).empty());
  }
  const auto blocks = readRecipeConParams(
      Writer::ByteWriter({0, 0, 0}).i32({3, 2}).u8({1, 2}).i32({-5, 1}).u8({3}).bytes());
  EXPECT_EQ(blocks, (std::vector<std::vector<std::byte>>{
                        {std::byte{1}, std::byte{2}}, {}, {std::byte{3}}}));
}

}  // namespace
}  // namespace morvex

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

namespace morvex {
namespace {

using Words = std::vector<std::uint32_t>;
using Sizes = std::vector<std::uint64_t>;
using Texts = std::vector<std::string>;
using Bools = std::vector<bool>;

TEST(CaseRecord, FieldsStandInTheOrderOfTheBytes) {
  StoredBox box = kInvertedBox;
  std::vector<std::byte> bytes = caseBytes().bytes();
  const CaseMetaData record = readCaseMetaData(bytes, box);
  EXPECT_EQ(box, (StoredBox{-1, -2, -3, 1, 2, 3}));
  EXPECT_EQ(record.numGeometries, 2U);
  EXPECT_EQ(record.numTimesets, 2U);
  EXPECT_EQ(record.numFilesets, 1U);
  EXPECT_EQ(record.numVariables, 3U);
  EXPECT_EQ(record.nameWidth, 4U);
  EXPECT_EQ(record.title, "title");
  EXPECT_EQ(record.geometryKinds, (std::vector<std::uint8_t>{0, 1}));
  EXPECT_EQ(record.geometryChangeTypes, (std::vector<std::uint8_t>{1, 3}));
  EXPECT_EQ(record.geometryTimesets, (Words{kNoTimeset, 1}));
  EXPECT_EQ(record.timesetStepCounts, (Words{4, 2}));
  EXPECT_EQ(record.geometryExtra, (Words{11, 12}));
  EXPECT_EQ(record.caseValues, (std::array<std::uint32_t, 5>{21, 22, 23, 24, 25}));
  EXPECT_EQ(record.caseText, "ct");
  // A text ends at an inner zero byte, but its whole length is taken.
  EXPECT_EQ(record.geometryTexts, (Texts{"g", ""}));

  bytes.pop_back();
  box = kInvertedBox;
  EXPECT_THROW((void)readCaseMetaData(bytes, box), InternalError);
  EXPECT_EQ(box, kInvertedBox) << "a refused record leaves it alone";
}

TEST(GeometryRecord, FieldsStandInTheOrderOfTheBytes) {
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, {"hull", "fin"});
  appendState(bytes, {});
  appendState(bytes, Texts(40, "part"));
  const auto geometries = readGeometryMetadata(bytes.bytes(), sampleCase(), Words{2, 1});
  ASSERT_EQ(geometries.size(), 2U);
  ASSERT_EQ(geometries[0].size(), 2U);
  const GeometryMetadata& state = geometries[0][0];
  EXPECT_EQ(state.numParts, 2U);
  EXPECT_EQ(state.partIds, (Words{100, 101}));
  EXPECT_EQ(state.partValues, (Words{200, 201}));
  EXPECT_EQ(state.partTypes, (Words{0, 1}));
  EXPECT_EQ(state.partNames, (Texts{"hull", "fin"}));  // 4 of 4 bytes used
  EXPECT_EQ(state.numNodes, (Sizes{1000, 1001}));
  EXPECT_EQ(state.nfacedConnectivitySize, (Sizes{2000, 2001}));
  EXPECT_EQ(state.nfacedNodesPerFaceSize, (Sizes{3000, 3001}));
  EXPECT_EQ(state.nsidedConnectivitySize, (Sizes{4000, 4001}));
  EXPECT_EQ(state.elementCounts[1][33], 5133U);
  EXPECT_EQ(state.blockInfo[1], (std::array<std::uint32_t, 4>{6004, 6005, 6006, 6007}));
  EXPECT_EQ(state.partFlagsA, (Bools{true, false}));
  EXPECT_EQ(state.partValuesB, (Words{300, 301}));
  EXPECT_EQ(state.stateValues, (std::array<std::uint32_t, 3>{31, 32, 33}));
  EXPECT_EQ(state.coordinatesAdaptive, (Bools{false, true}));
  EXPECT_EQ(state.partFlagsC, (Bools{true, true}));
  EXPECT_EQ(state.borderFaceCounts[0][6], 7006U);
  EXPECT_EQ(state.boundingBox, kInvertedBox);
  EXPECT_EQ(geometries[0][1].stateValues[2], 33U);
  EXPECT_EQ(geometries[1][0].numParts, 40U) << "many parts may end with the record";
}

TEST(GeometryRecord, StatesAreHeldAgainstTheRecord) {
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, {});
  const auto read = [&](const Words& states) {
    return readGeometryMetadata(bytes.bytes(), sampleCase(), states);
  };
  EXPECT_EQ(read({1, 0})[0].size(), 1U) << "a state without parts may end with the record";
  EXPECT_THROW((void)read({0xFFFFFFFF, 0}), InternalError);
  EXPECT_THROW((void)read({1}), std::out_of_range);
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

TEST(VariableRecord, FieldsStandInTheOrderOfTheBytes) {
  const VariableMetaData record =
      readVariableMetaData(variableBytes({0, 1, 0}).bytes(), 2, 4, Sizes{2, 9});
  EXPECT_EQ(record.names, (Texts{"temp", "c"}));
  EXPECT_EQ(record.types, (Words{5, 1}));
  EXPECT_EQ(record.locations, (Words{4, 1}));
  EXPECT_EQ(record.complexFlags, (Words{0, 1}));
  EXPECT_EQ(record.frequencies, (std::vector<float>{0.0F, 2.5F}));
  EXPECT_EQ(record.timesets, (Words{1, kNoTimeset}));
  EXPECT_EQ(record.geometryIndices, (Words{0, 1}));
  EXPECT_EQ(record.descriptions, (Texts{"desc", "d"}));
  EXPECT_EQ(record.imaginaryDescriptions, (Texts{"", ""}));
  EXPECT_EQ(record.constantFlags, (Words{0, 1}));
  EXPECT_EQ(record.constantValues, (std::vector<std::vector<float>>{{}, {1.5F, 2.5F}}));
  EXPECT_EQ(record.imaginaryConstantValues, (std::vector<std::vector<float>>{{}, {3.5F}}));
  // The constant has no table, whatever the parts of its geometry.
  EXPECT_EQ(record.definedOnPart, (std::vector<Bools>{{false, true}, {}}));
  EXPECT_EQ(record.dataTypes, (Words{8, 9}));
  EXPECT_EQ(record.usesTimeDiffs, (Bools{true, false}));
  EXPECT_EQ(record.datasetNames, (Texts{"ds0", "ds1"}));
}

TEST(VariableRecord, BelowMinorVersionOneDatasetsGoByTheNames) {
  for (const std::uint32_t patch : {0U, 5U}) {
    const VariableMetaData record =
        readVariableMetaData(variableBytes({0, 0, patch}).bytes(), 2, 4, Sizes{2, 9});
    EXPECT_EQ(record.datasetNames, (Texts{"temp", "c"}));
    EXPECT_EQ(record.usesTimeDiffs, (Bools{true, false}));
  }
}

TEST(VariableRecord, NamesMayHaveNoWidth) {
  BytesBuilder bytes(0, 1, 0);
  bytes.u32({5, 1, 0}).f32({0.0F}).u32({1, 0, 1}).u64({0, 0}).u32({8}).u8({1});
  const VariableMetaData record = readVariableMetaData(bytes.bytes(), 1, 0, {});
  EXPECT_EQ(record.datasetNames, Texts{""});
  EXPECT_EQ(record.usesTimeDiffs, Bools{true});
}

TEST(VariableRecord, WhatTheContextClaimsIsHeldAgainstTheRecord) {
  const BytesBuilder bytes = variableBytes({0, 1, 0});
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

TEST(OctreeRecord, FieldsStandInTheOrderOfTheBytesAndEmptyPartsStoreNone) {
  const BytesBuilder bytes = octreeBytes().u64({2}).u32({0, 0, 1, 2}).u8({1, 1});
  const auto geometries = readOctreeMetaData(bytes.bytes(), sampleCase(), Words{1, 1});
  const OctreeMetaData& octree = geometries.at(0).at(0);
  EXPECT_EQ(octree.entryCounts, (Words{0, 2, 0}));
  EXPECT_EQ(octree.partValues, (Words{4, 5, 6}));
  EXPECT_EQ(octree.entryValuesA, (std::vector<Sizes>{{}, {10, 11}, {}}));
  EXPECT_EQ(octree.entryPairs[1][1], (std::array<std::uint32_t, 2>{22, 23}));
  EXPECT_EQ(octree.entryElementCounts[1][1][33], 233U);
  EXPECT_EQ(octree.entryValuesB[1], (Sizes{30, 31}));
  EXPECT_EQ(octree.entryValuesC[1], (Sizes{40, 41}));
  EXPECT_EQ(octree.entryValuesD[1], (Sizes{50, 51}));
  EXPECT_EQ(octree.entryValuesE, (std::vector<Sizes>{{}, {60, 61}, {}}));
  EXPECT_EQ(octree.partFlags, (Bools{false, true, true}));
  EXPECT_EQ(geometries.at(1).at(0).partFlags, (Bools{true, true})) << "the record's last bytes";
  EXPECT_THROW((void)readOctreeMetaData(bytes.bytes(), sampleCase(), Words{1, 2}), InternalError);
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

TEST(TimeSetRecord, ANegativeStartIsFollowedByAListOfFileNumbersAndOthersByTheIncrement) {
  BytesBuilder listed(0, 0, 0);
  listed.u32({9}).u64({4}).text(std::string_view("a\0bc", 4)).i32({2}).f32({0.5F, 1.5F});
  const auto list = readTimeSet(listed.i32({-7}).u32({70, 80}).bytes(), 3);
  EXPECT_EQ(list->id(), 9U);
  EXPECT_EQ(list->index(), 3U);
  EXPECT_EQ(list->description(), "a");
  EXPECT_EQ(list->numberOfSteps(), 2);
  EXPECT_EQ(list->timeValues(), (std::vector<float>{0.5F, 1.5F}));
  EXPECT_EQ(list->filenameStart(), -7);
  EXPECT_EQ(list->filenameNumbers(), (Words{70, 80}));
  EXPECT_EQ(list->filenameIncrement(), 0U);

  BytesBuilder counted(0, 0, 0);
  counted.u32({1}).u64({0}).i32({1}).f32({2.0F}).i32({0}).u32({5});
  EXPECT_EQ(readTimeSet(counted.bytes(), 0)->filenameIncrement(), 5U);
  EXPECT_TRUE(readTimeSet(counted.bytes(), 0)->filenameNumbers().empty());

  for (const std::int32_t steps : {0, -1, std::int32_t{-0x7FFFFFFF}}) {
    const BytesBuilder bytes = BytesBuilder(0, 0, 0).u32({1}).u64({0}).i32({steps, -1});
    EXPECT_EQ(readTimeSet(bytes.bytes(), 0)->numberOfSteps(), steps) << "nothing follows";
  }
}

TEST(FileSetRecord, HasThreeWords) {
  const auto set = readFileSet(BytesBuilder(0, 0, 0).u32({4, 5, 6}).bytes(), 7);
  EXPECT_EQ(set->id(), 4U);
  EXPECT_EQ(set->index(), 7U);
  EXPECT_EQ(set->numberOfSteps(), 5U);
  EXPECT_EQ(set->fileIndex(), 6U);
}

TEST(StepBoxes, GoToTheStatesInOrderAndMoreAreReadOverWithOneWarning) {
  constexpr StoredBox kFirst{1, 2, 3, 4, 5, 6};
  constexpr StoredBox kSecond{7, 8, 9, 10, 11, 12};
  const auto read = [](std::size_t stateCount) {
    BytesBuilder bytes(0, 0, 0);
    bytes.u64({2}).f32({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    std::vector<GeometryMetadata> states(stateCount);
    readMetaPerTimeStep(bytes.bytes(), states);
    return states;
  };
  const Kelbor::LogCapture log(Kelbor::LogLevel::warning);
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

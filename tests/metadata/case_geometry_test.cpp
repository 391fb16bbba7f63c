#include <gtest/gtest.h>

#include <stdexcept>

#include "core/error.hpp"
#include "metadata/geometry_records.hpp"
#include "record_samples.hpp"

namespace morvex {
namespace {

using Words = std::vector<std::uint32_t>;

TEST(CaseRecord, FieldsStandInTheOrderOfTheBytes) {
  StoredBox box = kInvertedBox;
  const CaseMetaData record = readCaseMetaData(caseBytes().bytes(), box);
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
  EXPECT_EQ(record.geometryTexts, (std::vector<std::string>{"g", ""}));
}

TEST(CaseRecord, ACaseWithoutGeometriesKeepsItsTimeSets) {
  BytesBuilder bytes(0, 0, 0);
  bytes.f32({0, 0, 0, 0, 0, 0}).u64({3, 0, 1, 0, 0, 0}).text(std::string_view("a\0b", 3));
  bytes.u32({7}).u32({1, 2, 3, 4, 5}).u32({0});
  StoredBox box = kInvertedBox;
  const CaseMetaData record = readCaseMetaData(bytes.bytes(), box);
  EXPECT_EQ(record.title, "a");
  EXPECT_EQ(record.timesetStepCounts, Words{7});
  EXPECT_TRUE(readGeometryMetadata(BytesBuilder(0, 0, 0).bytes(), record, {}).empty());
  EXPECT_TRUE(geometryStateCounts(record).empty());
}

TEST(CaseRecord, ARefusedRecordLeavesTheBoxAlone) {
  std::vector<std::byte> cut = caseBytes().bytes();
  cut.pop_back();
  StoredBox box = kInvertedBox;
  EXPECT_THROW(static_cast<void>(readCaseMetaData(cut, box)), InternalError);
  EXPECT_EQ(box, kInvertedBox);
}

TEST(GeometryRecord, FieldsStandInTheOrderOfTheBytes) {
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, {"hull", "fin"});
  const auto geometries = readGeometryMetadata(bytes.bytes(), sampleCase(), Words{1, 0});
  ASSERT_EQ(geometries.size(), 2U);
  ASSERT_EQ(geometries[0].size(), 1U);
  EXPECT_TRUE(geometries[1].empty());
  const GeometryMetadata& state = geometries[0][0];
  EXPECT_EQ(state.numParts, 2U);
  EXPECT_EQ(state.partIds, (Words{100, 101}));
  EXPECT_EQ(state.partValues, (Words{200, 201}));
  EXPECT_EQ(state.partTypes, (Words{0, 1}));
  EXPECT_EQ(state.partNames, (std::vector<std::string>{"hull", "fin"}));  // 4 of 4 bytes used
  EXPECT_EQ(state.numNodes, (std::vector<std::uint64_t>{1000, 1001}));
  EXPECT_EQ(state.nfacedConnectivitySize, (std::vector<std::uint64_t>{2000, 2001}));
  EXPECT_EQ(state.nfacedNodesPerFaceSize, (std::vector<std::uint64_t>{3000, 3001}));
  EXPECT_EQ(state.nsidedConnectivitySize, (std::vector<std::uint64_t>{4000, 4001}));
  EXPECT_EQ(state.elementCounts[1][33], 5133U);
  EXPECT_EQ(state.blockInfo[1], (std::array<std::uint32_t, 4>{6004, 6005, 6006, 6007}));
  EXPECT_EQ(state.partFlagsA, (std::vector<bool>{true, false}));
  EXPECT_EQ(state.partValuesB, (Words{300, 301}));
  EXPECT_EQ(state.stateValues, (std::array<std::uint32_t, 3>{31, 32, 33}));
  EXPECT_EQ(state.coordinatesAdaptive, (std::vector<bool>{false, true}));
  EXPECT_EQ(state.partFlagsC, (std::vector<bool>{true, true}));
  EXPECT_EQ(state.borderFaceCounts[0][6], 7006U);
  EXPECT_EQ(state.boundingBox, kInvertedBox);
}

TEST(GeometryRecord, AStateWithoutPartsTakesTwentyBytes) {
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, {});
  ASSERT_EQ(bytes.bytes().size(), 12U + 20U);
  appendState(bytes, {"a"});
  const auto geometries = readGeometryMetadata(bytes.bytes(), sampleCase(), Words{1, 1});
  EXPECT_EQ(geometries[0][0].stateValues[2], 33U);
  EXPECT_EQ(geometries[1][0].partNames, std::vector<std::string>{"a"});
}

TEST(GeometryRecord, ManyPartsMayEndWithTheRecord) {
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, std::vector<std::string>(40, "part"));
  EXPECT_EQ(bytes.bytes().size(), 12U + 20U + 40U * 343U);
  EXPECT_EQ(readGeometryMetadata(bytes.bytes(), sampleCase(), Words{1, 0})[0][0].numParts, 40U);
}

TEST(GeometryRecord, TooWideNamesAreRefused) {
  CaseMetaData context = sampleCase();
  context.nameWidth = (1 << 20) + 1;
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, {});
  EXPECT_THROW(static_cast<void>(readGeometryMetadata(bytes.bytes(), context, Words{1, 0})),
               InternalError);
}

TEST(GeometryRecord, AbsurdStateCountsAreRefused) {
  BytesBuilder bytes(0, 0, 0);
  appendState(bytes, {"a"});
  EXPECT_THROW(
      static_cast<void>(readGeometryMetadata(bytes.bytes(), sampleCase(), Words{0xFFFFFFFF, 0})),
      InternalError);
  EXPECT_THROW(static_cast<void>(readGeometryMetadata(bytes.bytes(), sampleCase(), Words{1})),
               std::out_of_range);
}

TEST(GeometryRecord, OnlyChangingConnectivityHasAStateForEachStep) {
  CaseMetaData context = sampleCase();
  EXPECT_EQ(geometryStateCounts(context), (Words{1, 2}));
  context.geometryChangeTypes = {2, 1};
  EXPECT_EQ(geometryStateCounts(context), (Words{1, 1}));
  context.geometryChangeTypes = {0, 3};  // an unknown type shifts the counts behind it
  EXPECT_EQ(geometryStateCounts(context), Words{2});
  context.geometryChangeTypes = {3, 1};  // geometry 0 has no time set
  EXPECT_EQ(messageOf<std::out_of_range>([&] { static_cast<void>(geometryStateCounts(context)); }),
            "invalid vector<T> subscript");
}

}  // namespace
}  // namespace morvex

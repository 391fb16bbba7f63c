#include <gtest/gtest.h>

#include <stdexcept>

#include "core/error.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/variable_records.hpp"
#include "record_samples.hpp"

namespace morvex {
namespace {

using Words = std::vector<std::uint32_t>;
using Sizes = std::vector<std::uint64_t>;
using Texts = std::vector<std::string>;

TEST(VariableRecord, FieldsStandInTheOrderOfTheBytes) {
  const Sizes partCounts{2, 9};
  const VariableMetaData record =
      readVariableMetaData(variableBytes({0, 1, 0}).bytes(), 2, 4, partCounts);
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
  EXPECT_EQ(record.definedOnPart, (std::vector<std::vector<bool>>{{false, true}, {}}));
  EXPECT_EQ(record.dataTypes, (Words{8, 9}));
  EXPECT_EQ(record.usesTimeDiffs, (std::vector<bool>{true, false}));
  EXPECT_EQ(record.datasetNames, (Texts{"ds0", "ds1"}));
}

TEST(VariableRecord, BelowMinorVersionOneDatasetsGoByTheNames) {
  for (const std::uint32_t patch : {0U, 5U}) {
    const VariableMetaData record =
        readVariableMetaData(variableBytes({0, 0, patch}).bytes(), 2, 4, Sizes{2, 9});
    EXPECT_EQ(record.datasetNames, (Texts{"temp", "c"}));
    EXPECT_EQ(record.usesTimeDiffs, (std::vector<bool>{true, false}));
  }
}

TEST(VariableRecord, WithoutVariablesHoldsTheVersionOnly) {
  for (const MetadataVersion& version : {MetadataVersion{0, 0, 0}, MetadataVersion{0, 1, 0}}) {
    const BytesBuilder bytes(version.major, version.minor, version.patch);
    EXPECT_TRUE(readVariableMetaData(bytes.bytes(), 0, 4, {}).datasetNames.empty());
  }
}

TEST(VariableRecord, NamesMayHaveNoWidth) {
  BytesBuilder bytes(0, 1, 0);
  bytes.u32({5, 1, 0}).f32({0.0F}).u32({1, 0, 1}).u64({0, 0}).u32({8}).u8({1});
  const VariableMetaData record = readVariableMetaData(bytes.bytes(), 1, 0, {});
  EXPECT_EQ(record.datasetNames, Texts{""});
  EXPECT_EQ(record.usesTimeDiffs, std::vector<bool>{true});
}

TEST(VariableRecord, WhatTheContextClaimsIsHeldAgainstTheRecord) {
  const BytesBuilder bytes = variableBytes({0, 1, 0});
  const auto read = [&](std::uint64_t variables, std::uint64_t width, const Sizes& parts) {
    static_cast<void>(readVariableMetaData(bytes.bytes(), variables, width, parts));
  };
  const Sizes parts{2, 9};
  EXPECT_THROW(read(1ULL << 61, 4, parts), InternalError);
  EXPECT_THROW(read(~0ULL, 0, parts), InternalError);
  EXPECT_THROW(read(2, ~0ULL, parts), InternalError);
  EXPECT_THROW(read(0, (1ULL << 20) + 1, parts), InternalError);
  EXPECT_THROW(read(2, 4, {~0ULL, 9}), InternalError);
  EXPECT_EQ(messageOf<std::out_of_range>([&] { read(2, 4, {}); }), "invalid vector<T> subscript");
}

TEST(OctreeRecord, EmptyPartsStoreNoEntries) {
  BytesBuilder bytes(0, 0, 0);
  bytes.u64({3}).u32({0, 2, 0}).u32({4, 5, 6}).u64({10, 11}).u32({20, 21, 22, 23});
  bytes.rising(100, 34).rising(200, 34).u64({30, 31}).u64({40, 41}).u64({50, 51}).u64({60, 61});
  bytes.u8({0, 9, 1}).u64({0});
  CaseMetaData context = sampleCase();
  const auto geometries = readOctreeMetaData(bytes.bytes(), context, Words{1, 1});
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
  EXPECT_EQ(octree.partFlags, (std::vector<bool>{false, true, true}));
  EXPECT_TRUE(geometries.at(1).at(0).entryCounts.empty());
  EXPECT_THROW(static_cast<void>(readOctreeMetaData(bytes.bytes(), context, Words{1, 2})),
               InternalError);
}

TEST(OctreeRecord, EmptyPartsMayEndWithTheRecord) {
  CaseMetaData context;
  context.numGeometries = 1;
  const BytesBuilder bytes = BytesBuilder(0, 0, 0).u64({2}).u32({0, 0, 1, 2}).u8({1, 1});
  EXPECT_EQ(readOctreeMetaData(bytes.bytes(), context, Words{1})[0][0].partFlags.size(), 2U);
}

TEST(OctreeRecord, GeometryZeroDecidesForAll) {
  CaseMetaData context = sampleCase();
  context.geometryChangeTypes = {2, 3};
  EXPECT_EQ(octreeStateCounts(context), (Words{1, 1}));
  context.geometryChangeTypes = {3, 1};
  context.geometryTimesets = {0, 1};
  EXPECT_EQ(octreeStateCounts(context), (Words{4, 2}));
  context.geometryTimesets = {0, kNoTimeset};
  EXPECT_THROW(static_cast<void>(octreeStateCounts(context)), std::out_of_range);
  EXPECT_TRUE(octreeStateCounts(CaseMetaData{}).empty());
}

}  // namespace
}  // namespace morvex

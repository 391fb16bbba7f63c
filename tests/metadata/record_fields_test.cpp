#include <gtest/gtest.h>

#include "metadata/geometry_records.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "metadata/variable_records.hpp"
#include "record_samples.hpp"

// Which bytes are which field, told apart from the writer, which would move a field along.
namespace morvex {
namespace {

using Words = std::vector<std::uint32_t>;
using Sizes = std::vector<std::uint64_t>;
using Texts = std::vector<std::string>;
using Flags = std::vector<bool>;

TEST(RecordFields, OfTheCaseStandInTheOrderOfTheBytes) {
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
  EXPECT_EQ(record.geometryTexts, (Texts{"gxy", "zw"}));
}

TEST(RecordFields, OfAGeometryStandInTheOrderOfTheBytes) {
  Writer::ByteWriter bytes({0, 0, 0});
  appendState(bytes, {"hull", "fin"});
  const auto geometries = readGeometryMetadata(bytes.bytes(), sampleCase(), Words{1, 0});
  ASSERT_EQ(geometries.at(0).size(), 1U);
  EXPECT_TRUE(geometries.at(1).empty());
  const GeometryMetadata& state = geometries[0][0];
  EXPECT_EQ(state.numParts, 2U);
  EXPECT_EQ(state.partIds, (Words{100, 101}));
  EXPECT_EQ(state.partValues, (Words{200, 201}));
  EXPECT_EQ(state.partTypes, (Words{0, 1}));
  EXPECT_EQ(state.partNames, (Texts{"hull", "fin"}));
  EXPECT_EQ(state.numNodes, (Sizes{1000, 1001}));
  EXPECT_EQ(state.nfacedConnectivitySize, (Sizes{2000, 2001}));
  EXPECT_EQ(state.nfacedNodesPerFaceSize, (Sizes{3000, 3001}));
  EXPECT_EQ(state.nsidedConnectivitySize, (Sizes{4000, 4001}));
  EXPECT_EQ(state.elementCounts[1][33], 5133U);
  EXPECT_EQ(state.blockInfo[1], (std::array<std::uint32_t, 4>{6004, 6005, 6006, 6007}));
  EXPECT_EQ(state.partFlagsA, (Flags{true, false}));
  EXPECT_EQ(state.partValuesB, (Words{300, 301}));
  EXPECT_EQ(state.stateValues, (std::array<std::uint32_t, 3>{31, 32, 33}));
  EXPECT_EQ(state.coordinatesAdaptive, (Flags{false, true}));
  EXPECT_EQ(state.partFlagsC, (Flags{true, true}));
  EXPECT_EQ(state.borderFaceCounts[0][6], 7006U);
  EXPECT_EQ(state.boundingBox, kInvertedBox);
}

TEST(RecordFields, OfVariablesStandInTheOrderOfTheBytes) {
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
  EXPECT_EQ(record.definedOnPart, (std::vector<Flags>{{false, true}, {}}))
      << "a constant has no table, whatever the parts of its geometry";
  EXPECT_EQ(record.dataTypes, (Words{8, 9}));
  EXPECT_EQ(record.usesTimeDiffs, (Flags{true, false}));
  EXPECT_EQ(record.datasetNames, (Texts{"ds0", "ds1"}));
}

TEST(RecordFields, OfTimeAndFilesStandInTheOrderOfTheBytes) {
  Writer::ByteWriter bytes({0, 0, 0});
  bytes.u32({9}).u64({4}).text(std::string_view("a\0bc", 4)).i32({2}).f32({0.5F, 1.5F});
  bytes.i32({-7}).u32({70, 80});
  const auto times = readTimeSet(bytes.bytes(), 3);
  EXPECT_EQ(times->id(), 9U);
  EXPECT_EQ(times->index(), 3U);
  EXPECT_EQ(times->description(), "a") << "ends at a zero, but its whole length is taken";
  EXPECT_EQ(times->numberOfSteps(), 2);
  EXPECT_EQ(times->timeValues(), (std::vector<float>{0.5F, 1.5F}));
  EXPECT_EQ(times->filenameStart(), -7);
  EXPECT_EQ(times->filenameNumbers(), (Words{70, 80}));
  EXPECT_EQ(times->filenameIncrement(), 0U);

  const auto files = readFileSet(Writer::ByteWriter({0, 0, 0}).u32({4, 5, 6}).bytes(), 7);
  EXPECT_EQ(files->id(), 4U);
  EXPECT_EQ(files->index(), 7U);
  EXPECT_EQ(files->numberOfSteps(), 5U);
  EXPECT_EQ(files->fileIndex(), 6U);

  const auto blocks =
      readCompressTimeDiffsMetaData(Writer::ByteWriter({0, 0, 0}).u32({8, 3}).bytes());
  EXPECT_EQ(blocks.blockSize, 8U);
  EXPECT_EQ(blocks.maxDepth, 3U);
}

}  // namespace
}  // namespace morvex

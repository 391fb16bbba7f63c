#include <array>
#include <stdexcept>

#include "metadata/octree_records.hpp"
#include "metadata/time_records.hpp"
#include "result_session.hpp"

namespace morvex::Writer {
namespace {

class Records : public ResultSession {
 protected:
  Records() {
    file_.part("hull").nodes({1, 2, -3}, {4, 5, 6}, {7, 8, 9.5F}).elements(6, {1, 2, 3});
    file_.part("block").nodes({0}, {0}, {0}).block({1, 1, 1, 5}, 1);
  }

  ResultFileBuilder file_;
};

TEST_F(Records, OfBothVersionsTellAboutVariablesAndTime) {
  file_.timeSet({0.5F, 1.5F});
  file_.timeSet(TimeSet(9, 1, 1, -1, 0, {12}, "numbered files", {3.0F}));
  file_.fileSet(FileSet(4, 0, 1, 2));
  file_.variable("force", Location::perNode, 5).onTimeSet(1).constant({1.5F});
  file_.variable("sound", Location::perElement, 6).set({.elementType = 6}, {1});
  for (const MetadataVersion& version : {MetadataVersion{0, 0, 0}, MetadataVersion{0, 1, 0}}) {
    file_.variableRecordVersion = version;
    open(file_);
    ASSERT_EQ(MX_getNumberOfTimesets(), 2);
    std::array<float, 2> times{};
    EXPECT_EQ(MX_getTimestepsValues(0, times.data()), 0);
    EXPECT_EQ(times, (std::array{0.5F, 1.5F}));
    EXPECT_EQ(MX_getTimestepsValues(1, times.data()), 0);
    EXPECT_EQ(times[0], 3.0F);
    ASSERT_EQ(MX_getNumberOfVariables(), 2);
    float real = 0;
    float imaginary = 0;
    EXPECT_EQ(MX_getConstantValue(0, 0, &real, &imaginary), 0);
    EXPECT_EQ(real, 1.5F);
    expectSameBits(variable(1, {.elementType = 6}, 1), {1});
  }
}

TEST_F(Records, MayBeDeflatedWhereTheContainerDoesIt) {
  for (int i = 0; i < 50; ++i) file_.variable("v" + std::to_string(i), Location::perNode);
  file_.write(path(), /*deflateRecords=*/false);
  const auto plainSize = std::filesystem::file_size(path());
  file_.write(path(), /*deflateRecords=*/true);
  EXPECT_LT(std::filesystem::file_size(path()), plainSize / 2);
  open();
  EXPECT_EQ(MX_getNumberOfVariables(), 50);
  expectSameBits(coordinates(0, 0, 3)[0], {1, 2, -3});
}

TEST_F(Records, OctreesAreReadOver) {
  OctreeMetaData octree;
  octree.entryCounts = {2, 0};
  octree.partValues = {7, 8};
  octree.entryValuesA = {{1, 2}, {}};
  octree.entryPairs = {{{3, 4}, {5, 6}}, {}};
  octree.entryElementCounts = {{{1}, {2}}, {}};
  octree.entryValuesB = octree.entryValuesC = octree.entryValuesD = octree.entryValuesA;
  octree.entryValuesE = {{10, 11}, {}};
  octree.partFlags = {true, false};
  file_.octrees = {{octree}};
  open(file_);
  EXPECT_EQ(MX_getNumberOfParts(), 2);

  CaseMetaData caseMetaData;
  caseMetaData.numGeometries = 1;
  const auto read =
      readOctreeMetaData(octreeBytes(file_.octrees), caseMetaData, std::vector<std::uint32_t>{1});
  const OctreeMetaData& back = read.at(0).at(0);
  EXPECT_EQ(back.entryPairs, octree.entryPairs);
  EXPECT_EQ(back.entryElementCounts, octree.entryElementCounts);
  EXPECT_EQ(back.entryValuesE, octree.entryValuesE);
  EXPECT_EQ(back.partFlags, octree.partFlags);
}

TEST_F(Records, WhatIsWiderThanItsFieldIsRefused) {
  file_.part(std::string(81, 'x')).nodes({}, {}, {});
  EXPECT_THROW(static_cast<void>(file_.image()), std::invalid_argument);
}

}  // namespace
}  // namespace morvex::Writer

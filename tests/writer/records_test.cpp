#include <array>
#include <limits>

#include "metadata/octree_records.hpp"
#include "metadata/time_records.hpp"
#include "result_session.hpp"

namespace morvex::Writer {
namespace {

class Records : public ResultSession {
 protected:
  Records() {
    PartBuilder& hull = file_.part("hull").nodes({1, 2, -3}, {4, 5, 6}, {7, 8, 9.5F});
    hull.elements(6, {1, 2, 3}).elements(0, {1, 3});
    file_.part("block").nodes({0}, {0}, {0}).block({1, 1, 1, 5}, 1);
  }

  ResultFileBuilder file_;
};

TEST_F(Records, TellHostsAboutVariablesAndTime) {
  file_.timeSet({0.5F, 1.5F});
  file_.timeSet(TimeSet(9, 1, 1, -1, 0, {12}, "numbered files", {3.0F}));
  file_.fileSet(FileSet(4, 0, 1, 2));
  file_.variable("force", Location::perNode, 5).onTimeSet(1).constant({1.5F}).describe("in kN");
  file_.variable("sound", Location::perElement, 6)
      .complex("imaginary sound", 42.0F)
      .set({.elementType = 6}, {1});
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
    std::array<std::array<char, 81>, 6> texts{};
    char* names[]{texts[0].data(), texts[1].data()};
    char* descriptions[]{texts[2].data(), texts[3].data()};
    char* imaginaryNames[]{texts[4].data(), texts[5].data()};
    std::array<int, 2> types{};
    std::array<int, 2> locations{};
    std::array<int, 2> complexFlags{};
    std::array<int, 2> hasTime{1, 1};
    std::array<int, 2> timesets{};
    std::array<float, 2> frequencies{1, 1};
    EXPECT_EQ(MX_getVariableInformation(names, descriptions, types.data(), locations.data(),
                                        complexFlags.data(), imaginaryNames, frequencies.data(),
                                        hasTime.data(), timesets.data()),
              0);
    EXPECT_STREQ(names[1], "sound");
    EXPECT_STREQ(descriptions[0], "in kN");
    EXPECT_STREQ(imaginaryNames[1], "imaginary sound");
    EXPECT_EQ(types, (std::array{1, 2}));
    EXPECT_EQ(locations, (std::array{4, 1}));
    EXPECT_EQ(complexFlags, (std::array{0, 1}));
    EXPECT_EQ(frequencies, (std::array{0.0F, 42.0F}));
    EXPECT_EQ(timesets, (std::array{1, 0}));
    float real = 0;
    float imaginary = 0;
    EXPECT_EQ(MX_getConstantValue(0, 0, &real, &imaginary), 0);
    EXPECT_EQ(real, 1.5F);
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

TEST_F(Records, AnImageCanBeDamagedBeforeItIsWritten) {
  ResultImage image = file_.image();
  ASSERT_TRUE(image.contains("/kelbor/casemetadata"));
  image["/kelbor/version"] = versionBytes({7, 1, 0});
  image.write(path());
  EXPECT_EQ(MX_openFile(path().c_str(), 0), -1);
  EXPECT_TRUE(image.erase("/kelbor/version"));
  EXPECT_FALSE(image.erase("/kelbor/version"));
  open(image);
  EXPECT_EQ(MX_getNumberOfVariables(), 0);
  EXPECT_THROW(static_cast<void>(image.at("/kelbor/version")), std::out_of_range);
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

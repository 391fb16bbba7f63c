#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "morvex/morvex_ensg.h"
#include "support/log_capture.hpp"
#include "support/temporary_path.hpp"
#include "writer/result_file.hpp"

namespace morvex {
namespace {

/// A session on a file that the test describes.
class LookupTest : public testing::Test {
 protected:
  ~LookupTest() override {
    if (isOpen_) MX_exit();
  }

  void open(Writer::ResultFileBuilder& file) {
    file.write(path_.string());
    isOpen_ = MX_openFile(path_.string().c_str(), 0) == 0;
    ASSERT_TRUE(isOpen_);
  }

  /// Expects the exception of an index that leads nowhere.
  template <class Question>
  static void expectOutOfRange(Question&& question,
                               const std::string& text = "invalid vector<T> subscript") {
    try {
      question();
      ADD_FAILURE() << "an index out of range was answered";
    } catch (const std::out_of_range& failure) {
      EXPECT_EQ(failure.what(), text);
    }
  }

  Kelbor::LogCapture log_{Kelbor::LogLevel::kSilent};
  TemporaryPath path_{"lookup.sdf"};
  bool isOpen_ = false;
};

TEST_F(LookupTest, TimeQuestionsDropTheSignWhereTheyAreDefinedTo) {
  Writer::ResultFileBuilder file;
  auto& part = file.part("p");
  for (const int step : {0, 1, 2}) part.nodes({0}, {0}, {0}, step);
  file.timeSet({0.5F});
  file.modelChanges(GeometryChange::kCoordinates, file.timeSet({1.0F, 2.0F, 3.0F}));
  open(file);
  EXPECT_EQ(MX_getNumberOfTimesets(), 2);
  EXPECT_EQ(MX_getModelGeoTimeset(), 1);
  EXPECT_EQ(MX_getNumberOfTimesteps(1), 3);
  EXPECT_EQ(MX_getNumberOfTimesteps(-1), 3);
  expectOutOfRange([] { MX_getNumberOfTimesteps(2); });
  expectOutOfRange([] { MX_getNumberOfTimesteps(-2147483647 - 1); });
  std::array<float, 4> values{0, 0, 0, 77};
  EXPECT_EQ(MX_getTimestepsValues(1, values.data()), 0);
  EXPECT_EQ(values, (std::array<float, 4>{1, 2, 3, 77}));
  expectOutOfRange([&] { MX_getTimestepsValues(-1, values.data()); });
}

TEST_F(LookupTest, FileWithoutTimeSetsHasOneStepAtZero) {
  Writer::ResultFileBuilder file;
  file.part("p").nodes({0}, {0}, {0});
  open(file);
  EXPECT_EQ(MX_getNumberOfTimesets(), 0);
  EXPECT_EQ(MX_getNumberOfTimesteps(5), 1);
  float value = 7;
  EXPECT_EQ(MX_getTimestepsValues(5, &value), 0);
  EXPECT_EQ(value, 0.0F);
  EXPECT_EQ(MX_hasMeasuredGeometry(), 0);
  EXPECT_EQ(MX_getMeasuredGeoTimeset(), 0);
  EXPECT_EQ(MX_getGeometryAdaptivityType(0), 0);
  EXPECT_EQ(MX_getGeometryAdaptivityType(1), -1) << "no particles";
  EXPECT_EQ(MX_getGeometryAdaptivityType(2), -1) << "no such geometry";
}

/// A table as the exports take it, filled with a number that no answer has.
template <class T, std::size_t Rows, std::size_t Columns>
struct Table {
  static constexpr T kUntouched = 77;
  Table() {
    for (std::size_t i = 0; i < Rows; ++i) {
      values[i].fill(kUntouched);
      rows[i] = values[i].data();
    }
  }
  std::array<std::array<T, Columns>, Rows> values;
  std::array<T*, Rows> rows;
};

TEST_F(LookupTest, PartTablesHoldWholeNamesAndFillOptionalArraysWhereTheyApply) {
  Writer::ResultFileBuilder file;
  file.nameWidth = 5;
  file.part("12345").nodes({0, 1}, {0, 1}, {0, 1}).elements(2, {1, 2});
  file.part("b1").block({2, 1, 1, 9}).nodes({0, 1}, {0, 0}, {0, 0}).id = 77;
  file.part("b2").block({1, 1, 1, 0}, 2).nodes({0}, {0}, {0});
  open(file);
  ASSERT_EQ(MX_getNumberOfParts(), 3);
  std::array<int, 3> ids{}, types{}, nodes{};
  Table<char, 3, 6> names;
  Table<int, 3, MX_ELEMENT_TYPES> elements;
  Table<int, 3, 4> extents;
  Table<int, 3, 5> options;
  const auto ask = [&](int** extentsOut, int** optionsOut) {
    return MX_getPartInformation(0, ids.data(), types.data(), names.rows.data(), nodes.data(),
                                 elements.rows.data(), extentsOut, optionsOut);
  };
  EXPECT_EQ(ask(nullptr, nullptr), 0);
  EXPECT_STREQ(names.rows[0], "12345");
  EXPECT_STREQ(names.rows[1], "b1");
  EXPECT_EQ(ids[1], 77);
  EXPECT_EQ(types, (std::array<int, 3>{0, 1, 2}));
  EXPECT_EQ(nodes, (std::array<int, 3>{2, 2, 1}));
  EXPECT_EQ(elements.values[0][2], 1);
  EXPECT_EQ(ask(extents.rows.data(), options.rows.data()), 0);
  EXPECT_EQ(extents.values[0][0], 77) << "not a block";
  EXPECT_EQ(extents.values[1], (std::array<int, 4>{2, 1, 1, 9}));
  EXPECT_EQ(options.values[1][0], 77) << "only blocks of type 2 are told";
  EXPECT_EQ(options.values[2], (std::array<int, 5>{}));
  int blanking = 77;
  EXPECT_EQ(MX_getBlockIblanking(0, 1, &blanking), -1);
  EXPECT_EQ(blanking, 77);
}

TEST_F(LookupTest, IdsAreCountedFromTheirOwnStarts) {
  Writer::ResultFileBuilder file;
  file.part("p")
      .nodes({0, 1, 2, 3}, {0, 0, 0, 0}, {0, 0, 0, 0})
      .elements(10, {1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4})
      .elements(14, {1, 2, 3, 4, 4, 3, 2, 1});
  file.particles().nodes({0, 0}, {0, 0}, {0, 0});
  open(file);
  std::array<int, 5> ids{};
  ids.fill(77);
  EXPECT_EQ(MX_getPartElementIds(0, 0, 14, ids.data()), 0);
  EXPECT_EQ(ids, (std::array<int, 5>{3, 4, 77, 77, 77}));
  EXPECT_EQ(MX_getPartNodeIds(0, 0, ids.data()), 0);
  EXPECT_EQ(ids, (std::array<int, 5>{0, 1, 2, 3, 77}));
  EXPECT_EQ(MX_getNumberOfMeasuredParticles(0), 2);
  EXPECT_EQ(MX_getMeasuredParticleIds(0, ids.data()), 0);
  EXPECT_EQ(ids, (std::array<int, 5>{1, 2, 2, 3, 77}));
  for (const int bad : {-1, 34, 2147483647, -2147483647 - 1}) {
    expectOutOfRange([&] { MX_getPartElementIds(0, 0, bad, ids.data()); });
    expectOutOfRange([&] { MX_getElementConnectivity(0, 0, bad, ids.data()); });
    expectOutOfRange([&] { MX_getPartNodeIds(0, bad, ids.data()); });
    expectOutOfRange([&] { MX_getPartNodeIds(bad, 0, ids.data()); });
  }
  for (int type = 30; type < MX_ELEMENT_TYPES; ++type) {
    EXPECT_EQ(MX_getElementConnectivity(0, 0, type, ids.data()), -1);
  }
}

TEST_F(LookupTest, BorderFacesOfOtherTypesAreToldAndDoNotCount) {
  Writer::ResultFileBuilder file;
  file.part("p").nodes({0}, {0}, {0}).borderFaces(8, {{{1, 2, 3, 4, 5, 6}}, {1}, {14}});
  file.part("q").nodes({0}, {0}, {0}).borderFaces(10, {{{1, 2, 3, 4}}, {5}, {-3}});
  open(file);
  std::array<int, MX_ELEMENT_TYPES> counts{};
  EXPECT_EQ(MX_hasBorderFaces(0, 0, counts.data()), 0);
  EXPECT_EQ(counts[8], 1);
  EXPECT_EQ(MX_hasBorderFaces(0, 1, counts.data()), 1);
}

TEST_F(LookupTest, VariableTablesAnswerInterestOnly) {
  Writer::ResultFileBuilder file;
  const std::uint32_t steps = file.timeSet({0.0F, 1.0F});
  file.part("p").nodes({0}, {0}, {0});
  file.variable("complex", Writer::Location::kPerNode, 5).complex("phase", 50.0F).set({}, {1.0F});
  file.variable("constant", Writer::Location::kPerElement, 6)
      .describe("a number")
      .onTimeSet(steps)
      .constant({4.0F, 5.0F});
  open(file);
  ASSERT_EQ(MX_getNumberOfVariables(), 2);
  Table<char, 2, 81> names, descriptions, imaginary;
  descriptions.rows[0] = nullptr;
  std::array<int, 2> types{}, locations{}, complexFlags{}, hasTime{7, 7}, timesets{};
  std::array<float, 2> frequencies{0.0F, 1.0F};
  const auto ask = [&] {
    return MX_getVariableInformation(names.rows.data(), descriptions.rows.data(), types.data(),
                                     locations.data(), complexFlags.data(), imaginary.rows.data(),
                                     frequencies.data(), hasTime.data(), timesets.data());
  };
  EXPECT_EQ(ask(), 0);
  EXPECT_STREQ(names.rows[0], "complex");
  EXPECT_STREQ(descriptions.rows[1], "a number");
  EXPECT_EQ(types, (std::array<int, 2>{1, 2}));
  EXPECT_EQ(locations, (std::array<int, 2>{4, 1}));
  EXPECT_EQ(imaginary.values[0][0], 77) << "no interest shown";
  EXPECT_STREQ(imaginary.rows[1], "");
  EXPECT_EQ(frequencies, (std::array<float, 2>{0.0F, 0.0F}));
  EXPECT_EQ(hasTime, (std::array<int, 2>{7, 1})) << "told for constants alone";
  EXPECT_EQ(timesets, (std::array<int, 2>{0, 0}));
  frequencies.fill(1.0F);
  EXPECT_EQ(ask(), 0);
  EXPECT_STREQ(imaginary.rows[0], "phase");
  EXPECT_EQ(frequencies, (std::array<float, 2>{50.0F, 0.0F}));

  float real = 0, both = 0;
  EXPECT_EQ(MX_getConstantValue(1, 1, &real, &both), 0);
  EXPECT_EQ(real, 5.0F);
  EXPECT_EQ(both, 5.0F);
  expectOutOfRange([&] { MX_getConstantValue(2, 1, &real, &both); });
  expectOutOfRange([&] { MX_getConstantValue(0, 2, &real, &both); });
}

TEST_F(LookupTest, VariableReadsRefuseTypesAndSayWhereTheyAreNotDefined) {
  Writer::ResultFileBuilder file;
  file.part("p").nodes({0, 1}, {0, 0}, {0, 0});
  file.part("q").nodes({0}, {0}, {0});
  file.variable("v", Writer::Location::kPerNode).set({}, {3.0F, 4.0F});
  open(file);
  std::array<float, 3> values{77, 77, 77};
  const auto read = [&](int part, int type) {
    return MX_getVariableByComponent(0, 0, 0, part, type, 0, 0, 0, values.data());
  };
  EXPECT_EQ(read(1, 1), 1);
  EXPECT_EQ(read(0, 0), -1);
  EXPECT_EQ(read(0, 5), -1);
  EXPECT_EQ(values[0], 77.0F);
  EXPECT_EQ(read(0, 1), 0);
  EXPECT_EQ(values, (std::array<float, 3>{3, 4, 77}));
  expectOutOfRange([&] { read(2, 1); }, "invalid vector<bool> subscript");
  EXPECT_THROW(MX_getVariableByComponent(0, 0, 0, 0, 1, 0, 0, 1, values.data()), std::runtime_error)
      << "a component that is not stored";
}

TEST_F(LookupTest, BoxesComeInTheOrderOfTheirSource) {
  Writer::ResultFileBuilder fixed;
  fixed.part("p").nodes({1, 2}, {3, 4}, {5, 6});
  open(fixed);
  std::array<float, 6> box{};
  EXPECT_EQ(MX_getBoundingBox(99, box.data()), 0) << "a static model has one box";
  EXPECT_EQ(box, (std::array<float, 6>{1, 2, 3, 4, 5, 6}));
  MX_exit();

  Writer::ResultFileBuilder moving;
  const std::uint32_t steps = moving.timeSet({0, 1});
  moving.modelChanges(GeometryChange::kConnectivity, steps);
  moving.part("p").nodes({1, 2}, {3, 4}, {5, 6}).nodes({10, 20}, {30, 40}, {50, 60}, 1);
  open(moving);
  EXPECT_EQ(MX_getBoundingBox(1, box.data()), 0);
  EXPECT_EQ(box, (std::array<float, 6>{10, 30, 50, 20, 40, 60}));
  expectOutOfRange([&] { MX_getBoundingBox(2, box.data()); });
}

}  // namespace
}  // namespace morvex

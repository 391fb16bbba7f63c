// The guard's answers are those of the exports.

#include <cstring>

#include "guard/guard_session.hpp"
#include "morvex/morvex_ensg.h"

namespace morvex::guard {
namespace {

using Floats = std::vector<float>;
using Ints = std::vector<std::int32_t>;

TEST_F(GuardSession, TablesTellWhatWasWritten) {
  std::vector<mxg_part> parts(kPartCount);
  std::uint64_t count = 0;
  ASSERT_EQ(mxg_get_part_information(4, parts.data(), parts.size(), &count), MXG_OK);
  ASSERT_EQ(count, parts.size());
  EXPECT_EQ(parts[kShell].nodes, 6U);
  EXPECT_EQ(parts[kShell].elements[kQuads], 2U);
  EXPECT_EQ(parts[kShell].type, 0);
  EXPECT_EQ(parts[kBlock].nodes, 4U);
  EXPECT_NE(parts[kBlock].type, 0);
  EXPECT_EQ(parts[kBlock].extents[1], 2);
  EXPECT_EQ(parts[kBlock].name_size, sizeof "block");
  std::array<char, 8> name{};
  ASSERT_EQ(mxg_get_part_name(0, kBlock, name.data(), name.size(), &count), MXG_OK);
  EXPECT_STREQ(name.data(), "block");

  std::vector<mxg_variable> variables(kVariableCount);
  ASSERT_EQ(mxg_get_variable_information(variables.data(), variables.size(), &count), MXG_OK);
  EXPECT_EQ(variables[kExact].type, 2);
  EXPECT_NE(variables[kExact].is_complex, 0);
  EXPECT_EQ(variables[kExact].frequency, 50.0F);
  EXPECT_EQ(variables[kExact].text_size[MXG_IMAGINARY_NAME], sizeof "imaginary part");
  EXPECT_EQ(variables[kElement].location, 1);
  EXPECT_EQ(variables[kElement].is_constant, 0);
  EXPECT_EQ(variables[kConstant].is_constant, 1);
  EXPECT_EQ(variables[kConstant].has_time, 1);
  float real = 0.0F;
  float imaginary = 0.0F;
  ASSERT_EQ(mxg_get_constant_value(3, kConstant, &real, &imaginary), MXG_OK);
  EXPECT_EQ(real, 4.0F);
}

TEST_F(GuardSession, ArraysAreThoseOfTheExports) {
  std::uint64_t count = 0;
  for (int step = 0; step < kSteps; ++step) {
    Floats x(6), y(6), z(6), expectedX(6), expectedY(6), expectedZ(6);
    ASSERT_EQ(mxg_get_part_coordinates(step, kShell, x.data(), y.data(), z.data(), 6, &count),
              MXG_OK);
    MX_getPartCoordinates(step, kShell, expectedX.data(), expectedY.data(), expectedZ.data());
    EXPECT_EQ(x, expectedX);
    EXPECT_EQ(y, expectedY);
    EXPECT_EQ(z, expectedZ);
    Floats values(6), expected(6);
    ASSERT_EQ(mxg_get_variable_by_component(step, step, kSeries, kShell, 0, 0, 0, values.data(), 6,
                                            &count),
              MXG_OK);
    MX_getVariableByComponent(step, 0, kSeries, kShell, 1, 0, 0, 0, expected.data());
    EXPECT_EQ(values, expected);
  }
  Ints nodes(8), expected(8);
  ASSERT_EQ(mxg_get_element_connectivity(2, kShell, kQuads, nodes.data(), 8, &count), MXG_OK);
  MX_getElementConnectivity(0, kShell, kQuads, expected.data());
  EXPECT_EQ(nodes, expected);
  Ints faces(6);
  ASSERT_EQ(mxg_get_nfaced_connectivity(0, kShell, faces.data(), 6, &count), MXG_OK);
  EXPECT_EQ(faces, (Ints{1, 2, 3, 4, 5, 6}));
}

TEST_F(GuardSession, DatasetsOfTheLastQuestionAreNamed) {
  std::array<float, 8> x{};
  std::array<char, 64> path{};
  std::uint64_t count = 0;
  ASSERT_EQ(mxg_get_part_coordinates(3, kShell, x.data(), x.data(), x.data(), 8, &count), MXG_OK);
  ASSERT_EQ(mxg_get_dataset_path(2, path.data(), path.size(), &count), MXG_OK);
  EXPECT_STREQ(path.data(), "/geometry/0/3/0/coordinates_2");
  EXPECT_EQ(mxg_get_dataset_path(3, path.data(), path.size(), &count), MXG_OUT_OF_RANGE);
  ASSERT_EQ(
      mxg_get_variable_by_component(0, 0, kElement, kShell, kQuads, 0, 0, x.data(), 8, &count),
      MXG_OK);
  ASSERT_EQ(mxg_get_dataset_path(0, path.data(), path.size(), &count), MXG_OK);
  EXPECT_STREQ(path.data(), "/variable/element/0/0/10_0_data");
}

/// A file of one part that doesn't move.
Writer::ResultImage stillImage() {
  Writer::ResultFileBuilder still;
  still.part("still").nodes({0, 2.5F}, {-7, 1}, {3, 4}).elements(2, {1, 2});
  return still.image();
}

TEST_F(GuardSession, BoxIsTheSameForModelsThatMoveAndThoseThatDoNot) {
  std::array<float, 6> box{};
  std::uint64_t count = 0;
  const auto expectOrder = [&] {
    ASSERT_EQ(mxg_get_bounding_box(0, box.data(), 6, &count), MXG_OK);
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_LE(box[axis], box[axis + 3]);
    EXPECT_EQ(box[0], 0.0F);
    EXPECT_EQ(box[3], 2.5F);
  };
  expectOrder();
  open(stillImage());
  expectOrder();
}

TEST_F(GuardSession, FileWithoutTimeOrParticlesSaysSo) {
  open(stillImage());
  std::uint64_t count = 7;
  std::int32_t type = 7;
  float time = 7.0F;
  EXPECT_EQ(mxg_get_number_of_timesets(&count), MXG_OK);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(mxg_get_timesteps_values(0, &time, 1, &count), MXG_OK);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(time, 0.0F);
  EXPECT_EQ(mxg_has_measured_geometry(&type), MXG_OK);
  EXPECT_EQ(type, 0);
  EXPECT_EQ(mxg_get_geometry_adaptivity_type(MXG_PARTICLES, &type), MXG_NO_SUCH_DATA);
  EXPECT_EQ(mxg_get_number_of_measured_particles(0, &count), MXG_NO_SUCH_DATA);
  EXPECT_STREQ(mxg_last_error()->text, "the file has no measured particles");
  EXPECT_EQ(mxg_get_variable_information(nullptr, 0, &count), MXG_OK);
  EXPECT_EQ(count, 0U);
}

TEST_F(GuardSession, EachStateHasItsSizes) {
  Writer::ResultFileBuilder file;
  file.modelChanges(GeometryChange::kConnectivity, file.timeSet({0.0F, 1.0F}));
  file.part("stays").nodes({0, 1}, {0, 1}, {0, 1}, 0).nodes({0, 1, 2}, {0, 1, 2}, {0, 1, 2}, 1);
  file.part("too").nodes({0}, {0}, {0}, 0).nodes({0}, {0}, {0}, 1);
  open(file.image());
  std::vector<mxg_part> parts(2);
  std::uint64_t count = 0;
  ASSERT_EQ(mxg_get_part_information(1, parts.data(), 2, &count), MXG_OK);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(parts[0].nodes, 3U);
  EXPECT_EQ(mxg_get_part_information(0, parts.data(), 2, &count), MXG_OK);
  EXPECT_EQ(parts[0].nodes, 2U);
}

}  // namespace
}  // namespace morvex::guard

// What a caller passes is checked before the library is asked.

#include <cstring>

#include "guard/guard_session.hpp"

namespace morvex::guard {
namespace {

constexpr std::int32_t kFarOff[] = {-1, 100, std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max()};

TEST(GuardWithoutSession, EveryQuestionIsRefused) {
  std::vector<char> buffer(4096);
  std::uint64_t count = 0;
  std::int32_t number = 0;
  float value = 0.0F;
  for (const ArrayQuestion& question : arrayQuestions()) {
    if (std::string(question.name) == "release") continue;
    EXPECT_EQ(question.ask(buffer.data(), 16, &count), MXG_NO_SESSION) << question.name;
    EXPECT_STREQ(mxg_last_error()->text, "no file is open");
  }
  EXPECT_EQ(mxg_exit(), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_number_of_timesets(&count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_geometry_adaptivity_type(MXG_MODEL, &number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_model_geo_timeset(&number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_measured_geo_timeset(&number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_number_of_timesteps(0, &count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_has_element_ids(&number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_has_node_ids(&number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_number_of_parts(&count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_finished_geometry_processing(), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_block_iblanking(0, 0, &number, 1, &count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_data_size_for_nsided_connectivity(0, 0, &count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_data_size_for_nfaced_nodes_per_face(0, 0, &count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_data_size_for_nfaced_connectivity(0, 0, &count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_border_faces_conn_by_type(0, 0, kTriangles, nullptr, 0, &count, nullptr,
                                              nullptr, 0, &count),
            MXG_NO_SESSION);
  EXPECT_EQ(mxg_has_measured_geometry(&number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_number_of_measured_particles(0, &count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_number_of_variables(&count), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_variable_geo_type(0, &number), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_constant_value(0, 0, &value, &value), MXG_NO_SESSION);
  EXPECT_EQ(mxg_get_dataset_path(0, buffer.data(), 16, &count), MXG_NO_SESSION);
}

TEST(GuardWithoutSession, WhatNeedsNoneIsAnswered) {
  std::array<char, 20> release{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_reader_release(release.data(), release.size(), &count), MXG_OK);
  EXPECT_EQ(count, std::strlen(release.data()) + 1);
  EXPECT_EQ(mxg_set_number_of_omp_threads(0), MXG_OUT_OF_RANGE);
  EXPECT_EQ(mxg_set_number_of_omp_threads(2), MXG_OK);
  EXPECT_EQ(mxg_open_file(nullptr, 0), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_open_file("/no/such/file", 0), MXG_CANNOT_OPEN);
  EXPECT_NE(std::strstr(mxg_last_error()->text, "/no/such/file"), nullptr);
  EXPECT_EQ(mxg_get_number_of_parts(&count), MXG_NO_SESSION);
}

TEST_F(GuardSession, FailedOpeningLeavesNoSession) {
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_open_file("/no/such/file", 0), MXG_CANNOT_OPEN);
  EXPECT_EQ(mxg_get_number_of_parts(&count), MXG_NO_SESSION);
}

TEST_F(GuardSession, BufferTakesItsCountAndNothingBehind) {
  for (const ArrayQuestion& question : arrayQuestions()) {
    SCOPED_TRACE(question.name);
    std::uint64_t count = 0;
    ASSERT_EQ(question.ask(nullptr, 0, &count), MXG_OK) << mxg_last_error()->text;
    ASSERT_GT(count, 0U);
    const std::size_t size = count * question.elementSize;
    std::vector<char> zeros(size);
    std::vector<char> ones(size, '\xFF');
    std::uint64_t told = 0;
    EXPECT_EQ(question.ask(zeros.data(), count, &told), MXG_OK) << mxg_last_error()->text;
    EXPECT_EQ(told, count);
    EXPECT_EQ(question.ask(ones.data(), count, &told), MXG_OK);
    EXPECT_EQ(zeros, ones) << "not all was filled";
  }
}

TEST_F(GuardSession, LargeBufferIsLeftAloneBehindItsCount) {
  for (const ArrayQuestion& question : arrayQuestions()) {
    SCOPED_TRACE(question.name);
    if (question.elementSize == 3 * sizeof(float)) continue;  // three buffers in one block
    std::uint64_t count = 0;
    ASSERT_EQ(question.ask(nullptr, 0, &count), MXG_OK);
    std::vector<char> buffer((count + 3) * question.elementSize, '\x55');
    ASSERT_EQ(question.ask(buffer.data(), count + 3, &count), MXG_OK);
    const std::vector<char> tail(buffer.begin() + std::ptrdiff_t(count * question.elementSize),
                                 buffer.end());
    EXPECT_EQ(tail, std::vector<char>(3 * question.elementSize, '\x55'));
  }
}

TEST_F(GuardSession, SmallBufferTakesNothing) {
  for (const ArrayQuestion& question : arrayQuestions()) {
    SCOPED_TRACE(question.name);
    std::uint64_t count = 0;
    ASSERT_EQ(question.ask(nullptr, 0, &count), MXG_OK);
    const std::uint64_t capacity = count - 1;
    std::vector<char> buffer(capacity * question.elementSize, '\x55');
    buffer.reserve(1);  // no buffer at all would ask for the count
    std::uint64_t told = 0;
    EXPECT_EQ(question.ask(buffer.data(), capacity, &told), MXG_BUFFER_TOO_SMALL);
    EXPECT_EQ(told, count);
    EXPECT_EQ(buffer, std::vector<char>(buffer.size(), '\x55'));
    const std::string wanted = std::to_string(count);
    EXPECT_NE(std::string(mxg_last_error()->text).find(wanted), std::string::npos);
  }
}

TEST_F(GuardSession, NullPointersAreRefused) {
  std::array<float, 8> x{};
  std::uint64_t count = 0;
  for (const ArrayQuestion& question : arrayQuestions()) {
    EXPECT_EQ(question.ask(nullptr, 1000, &count), MXG_NULL_POINTER) << question.name;
    EXPECT_EQ(question.ask(nullptr, 0, nullptr), MXG_NULL_POINTER) << question.name;
  }
  EXPECT_EQ(mxg_get_part_coordinates(0, kShell, x.data(), nullptr, x.data(), 8, &count),
            MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_number_of_timesets(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_geometry_adaptivity_type(MXG_MODEL, nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_model_geo_timeset(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_measured_geo_timeset(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_number_of_timesteps(0, nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_has_element_ids(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_has_node_ids(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_has_measured_geometry(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_number_of_parts(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_data_size_for_nsided_connectivity(0, kShell, nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_number_of_measured_particles(0, nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_number_of_variables(nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_variable_geo_type(0, nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_constant_value(0, kConstant, x.data(), nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_begin_walk(1, nullptr, nullptr), MXG_NULL_POINTER);
}

TEST_F(GuardSession, IndicesThatLeadNowhereAreRefused) {
  std::array<float, 64> x{};
  std::array<std::int32_t, 64> ids{};
  std::uint64_t count = 0;
  std::int32_t number = 0;
  const auto component = [&](int step, int state, int variable, int part, int type, int which) {
    return mxg_get_variable_by_component(step, state, variable, part, type, 0, which, x.data(), 64,
                                         &count);
  };
  for (const std::int32_t far : kFarOff) {
    SCOPED_TRACE(far);
    EXPECT_EQ(mxg_get_number_of_timesteps(far, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_timesteps_values(far, x.data(), 64, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_geometry_adaptivity_type(far, &number), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_part_information(far, nullptr, 0, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_bounding_box(far, x.data(), 64, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_part_coordinates(far, kShell, x.data(), x.data(), x.data(), 64, &count),
              MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_part_coordinates(0, far, x.data(), x.data(), x.data(), 64, &count),
              MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_last_error()->part, far);
    EXPECT_EQ(mxg_get_element_connectivity(0, far, kQuads, ids.data(), 64, &count),
              MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_element_connectivity(0, kShell, far, ids.data(), 64, &count),
              MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_part_element_ids(0, kShell, far, ids.data(), 64, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_has_border_faces(0, far, nullptr, 0, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_data_size_for_nfaced_connectivity(0, far, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_number_of_measured_particles(far, &count), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_variable_geo_type(far, &number), MXG_OUT_OF_RANGE);
    EXPECT_EQ(component(far, 0, kSeries, kShell, 0, 0), MXG_OUT_OF_RANGE);
    EXPECT_EQ(component(0, far, kSeries, kShell, 0, 0), MXG_OUT_OF_RANGE);
    EXPECT_EQ(component(0, 0, far, kShell, 0, 0), MXG_OUT_OF_RANGE);
    EXPECT_EQ(component(0, 0, kSeries, far, 0, 0), MXG_OUT_OF_RANGE);
    EXPECT_EQ(component(0, 0, kElement, kShell, far, 0), MXG_OUT_OF_RANGE);
    EXPECT_EQ(component(0, 0, kSeries, kShell, 0, far), MXG_OUT_OF_RANGE);
    EXPECT_EQ(mxg_get_constant_value(far, kConstant, x.data(), x.data()), MXG_OUT_OF_RANGE);
  }
  EXPECT_EQ(mxg_get_variable_text(kExact, static_cast<mxg_text>(3), nullptr, 0, &count),
            MXG_OUT_OF_RANGE);
  EXPECT_EQ(x, decltype(x){});
  EXPECT_EQ(ids, decltype(ids){});
}

TEST_F(GuardSession, QuestionsToTheWrongKindAreRefused) {
  std::array<float, 64> x{};
  std::array<std::int32_t, 64> ids{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_part_coordinates(0, kBlock, x.data(), x.data(), x.data(), 64, &count),
            MXG_WRONG_KIND);
  EXPECT_EQ(
      mxg_get_block_structured_coordinates(0, kShell, x.data(), x.data(), x.data(), 64, &count),
      MXG_WRONG_KIND);
  for (int type = 30; type < MXG_ELEMENT_TYPES; ++type) {
    EXPECT_EQ(mxg_get_element_connectivity(0, kShell, type, ids.data(), 64, &count),
              MXG_WRONG_KIND);
  }
  EXPECT_EQ(mxg_get_variable_by_component(0, 0, kConstant, 0, 0, 0, 0, x.data(), 64, &count),
            MXG_WRONG_KIND);
  EXPECT_EQ(mxg_get_variable_by_component(0, 0, kSeries, 0, 0, 1, 0, x.data(), 64, &count),
            MXG_WRONG_KIND);
  EXPECT_EQ(mxg_get_constant_value(0, kSeries, x.data(), x.data()), MXG_WRONG_KIND);
  EXPECT_EQ(mxg_get_block_iblanking(0, kShell, ids.data(), 64, &count), MXG_WRONG_KIND);
  EXPECT_EQ(mxg_get_block_iblanking(0, kBlock, ids.data(), 64, &count), MXG_REFUSED);
  EXPECT_EQ(x, decltype(x){});
}

TEST_F(GuardSession, VariableThatIsNotDefinedOnAPartIsNoFailure) {
  std::array<float, 8> values{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_variable_by_component(0, 0, kExact, kBlock, 0, 0, 0, values.data(), 8, &count),
            MXG_NOT_DEFINED);
  EXPECT_EQ(count, 0U);
}

TEST_F(GuardSession, BorderFacesNeedAllThreeBuffers) {
  std::array<std::int32_t, 3> nodes{};
  std::array<std::int32_t, 1> parents{};
  std::array<std::int16_t, 1> types{};
  std::uint64_t nodeCount = 0;
  std::uint64_t faceCount = 0;
  const auto ask = [&](std::int32_t* n, std::uint64_t nodeCapacity, std::int32_t* ids,
                       std::int16_t* kinds, std::uint64_t faceCapacity) {
    return mxg_get_border_faces_conn_by_type(0, kShell, kTriangles, n, nodeCapacity, &nodeCount,
                                             ids, kinds, faceCapacity, &faceCount);
  };
  EXPECT_EQ(ask(nullptr, 0, nullptr, nullptr, 0), MXG_OK);
  EXPECT_EQ(nodeCount, 3U);
  EXPECT_EQ(faceCount, 1U);
  EXPECT_EQ(ask(nodes.data(), 2, parents.data(), types.data(), 1), MXG_BUFFER_TOO_SMALL);
  EXPECT_EQ(ask(nodes.data(), 3, parents.data(), types.data(), 0), MXG_BUFFER_TOO_SMALL);
  EXPECT_EQ(ask(nodes.data(), 3, parents.data(), nullptr, 1), MXG_NULL_POINTER);
  EXPECT_EQ(ask(nullptr, 0, parents.data(), types.data(), 1), MXG_NULL_POINTER);
  EXPECT_EQ(nodes, decltype(nodes){});
  EXPECT_EQ(ask(nodes.data(), 3, parents.data(), types.data(), 1), MXG_OK);
  EXPECT_EQ(nodes, (std::array<std::int32_t, 3>{1, 2, 3}));
  EXPECT_EQ(parents[0], 7);
  EXPECT_EQ(types[0], 14);
}

}  // namespace
}  // namespace morvex::guard

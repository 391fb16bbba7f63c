// What a caller passes is checked before the library is asked.

#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>

#include "guard/guard_session.hpp"

namespace morvex::guard {
namespace {

using std::bind_front;
using Codes = std::vector<mxg_code>;

/// A question whose answer fills one buffer. Three axes are asked for in one block, each of the
/// capacity.
struct ArrayQuestion {
  const char* name;
  std::size_t elementSize;
  std::function<mxg_code(void* buffer, std::uint64_t capacity, std::uint64_t* count)> ask;
};

template <class T, class Ask>
ArrayQuestion array(const char* name, Ask ask) {
  return {name, sizeof(T), [ask](void* buffer, auto capacity, auto* count) {
            return ask(static_cast<T*>(buffer), capacity, count);
          }};
}

template <class Ask>
ArrayQuestion axes(const char* name, Ask ask) {
  return {name, 3 * sizeof(float), [ask](void* buffer, auto capacity, auto* count) {
            auto* const x = static_cast<float*>(buffer);
            return ask(x, x ? x + capacity : x, x ? x + 2 * capacity : x, capacity, count);
          }};
}

/// All of them that need a session, about something that the small file has.
std::vector<ArrayQuestion> arrayQuestions() {
  using Int = std::int32_t;
  return {
      array<float>("times", bind_front(mxg_get_timesteps_values, 0)),
      array<mxg_part>("parts", bind_front(mxg_get_part_information, 0)),
      array<char>("part name", bind_front(mxg_get_part_name, 0, kBlock)),
      array<Int>("node ids", bind_front(mxg_get_part_node_ids, 0, kShell)),
      array<Int>("element ids", bind_front(mxg_get_part_element_ids, 0, kShell, kQuads)),
      array<float>("box", bind_front(mxg_get_bounding_box, 0)),
      axes("coordinates", bind_front(mxg_get_part_coordinates, 3, kShell)),
      axes("block", bind_front(mxg_get_block_structured_coordinates, 2, kBlock)),
      array<Int>("connectivity", bind_front(mxg_get_element_connectivity, 0, kShell, kQuads)),
      array<Int>("n-sided sizes", bind_front(mxg_get_nsided_number_of_nodes_per_face, 0, kShell)),
      array<Int>("n-sided", bind_front(mxg_get_nsided_connectivity, 0, kShell)),
      array<Int>("faces", bind_front(mxg_get_nfaced_number_of_faces_per_element, 0, kShell)),
      array<Int>("nodes per face", bind_front(mxg_get_nfaced_nodes_per_face, 0, kShell)),
      array<Int>("n-faced", bind_front(mxg_get_nfaced_connectivity, 0, kShell)),
      array<std::uint64_t>("border faces", bind_front(mxg_has_border_faces, 0, kShell)),
      array<Int>("particle ids", bind_front(mxg_get_measured_particle_ids, 0)),
      axes("particles", bind_front(mxg_get_measured_particle_coordinates, 0)),
      array<mxg_variable>("variables", mxg_get_variable_information),
      array<char>("text", bind_front(mxg_get_variable_text, kExact, MXG_IMAGINARY_NAME)),
      array<float>("values per node",
                   bind_front(mxg_get_variable_by_component, 0, 0, kExact, kShell, 0, 1, 0)),
      array<float>("values per element",
                   bind_front(mxg_get_variable_by_component, 0, 0, kElement, kShell, kQuads, 0, 0)),
  };
}

template <class... Arguments>
mxg_code askWithZeros(mxg_code (*question)(Arguments...)) {
  return question(Arguments{}...);
}

/// Asks each question that takes pointers for all zeros and null pointers, which is about the shell
/// and the first variable.
Codes askAllWithZeros() {
  const auto ask = [](auto... questions) { return Codes{askWithZeros(questions)...}; };
  return ask(mxg_get_number_of_timesets, mxg_get_geometry_adaptivity_type,
             mxg_get_model_geo_timeset, mxg_get_measured_geo_timeset, mxg_get_number_of_timesteps,
             mxg_get_timesteps_values, mxg_has_element_ids, mxg_has_node_ids,
             mxg_get_number_of_parts, mxg_get_part_information, mxg_get_part_name,
             mxg_get_part_node_ids, mxg_get_part_element_ids, mxg_get_bounding_box,
             mxg_get_part_coordinates, mxg_get_element_connectivity,
             mxg_get_nsided_number_of_nodes_per_face, mxg_get_data_size_for_nsided_connectivity,
             mxg_get_nsided_connectivity, mxg_get_nfaced_number_of_faces_per_element,
             mxg_get_data_size_for_nfaced_nodes_per_face, mxg_get_nfaced_nodes_per_face,
             mxg_get_data_size_for_nfaced_connectivity, mxg_get_nfaced_connectivity,
             mxg_has_border_faces, mxg_get_border_faces_conn_by_type, mxg_has_measured_geometry,
             mxg_get_number_of_measured_particles, mxg_get_measured_particle_ids,
             mxg_get_measured_particle_coordinates, mxg_get_number_of_variables,
             mxg_get_variable_geo_type, mxg_get_variable_information, mxg_get_variable_text,
             mxg_get_variable_by_component, mxg_get_constant_value);
}

TEST(GuardWithoutSession, EveryQuestionIsRefused) {
  Codes codes = askAllWithZeros();
  EXPECT_STREQ(mxg_last_error()->text, "no file is open");
  for (const mxg_code code :
       {mxg_exit(), mxg_finished_geometry_processing(), askWithZeros(mxg_get_dataset_path),
        askWithZeros(mxg_get_block_iblanking),
        askWithZeros(mxg_get_block_structured_coordinates)}) {
    codes.push_back(code);
  }
  EXPECT_EQ(codes, Codes(codes.size(), MXG_NO_SESSION));
}

TEST(GuardWithoutSession, WhatNeedsNoneIsAnswered) {
  std::array<char, 20> release{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_reader_release(release.data(), release.size(), &count), MXG_OK);
  EXPECT_EQ(count, std::strlen(release.data()) + 1);
  EXPECT_EQ(mxg_set_number_of_omp_threads(0), MXG_OUT_OF_RANGE);
  EXPECT_EQ(mxg_set_number_of_omp_threads(2), MXG_OK);
}

TEST_F(GuardSession, FailedOpeningNamesTheFileAndLeavesNoSession) {
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_open_file("/no/such/file", 0), MXG_CANNOT_OPEN);
  EXPECT_NE(std::strstr(mxg_last_error()->text, "/no/such/file"), nullptr);
  EXPECT_EQ(mxg_get_number_of_parts(&count), MXG_NO_SESSION);
}

TEST_F(GuardSession, BuffersAreFilledToTheirCountOrNotAtAll) {
  for (const ArrayQuestion& question : arrayQuestions()) {
    SCOPED_TRACE(question.name);
    std::uint64_t count = 0;
    ASSERT_EQ(question.ask(nullptr, 0, &count), MXG_OK) << mxg_last_error()->text;
    ASSERT_GT(count, 0U);
    /// The buffer after it was asked to be filled.
    const auto fill = [&](std::uint64_t capacity, char before, mxg_code expected) {
      std::vector<char> buffer(capacity * question.elementSize, before);
      buffer.reserve(1);  // no buffer at all would ask for the count
      std::uint64_t told = 0;
      EXPECT_EQ(question.ask(buffer.data(), capacity, &told), expected);
      EXPECT_EQ(told, count);
      return buffer;
    };
    EXPECT_EQ(fill(count, '\0', MXG_OK), fill(count, '\xFF', MXG_OK)) << "not all was filled";
    const std::vector<char> left = fill(count - 1, '\x55', MXG_BUFFER_TOO_SMALL);
    EXPECT_EQ(left, std::vector<char>(left.size(), '\x55'));
    const std::string wanted = std::to_string(count);
    EXPECT_NE(std::string(mxg_last_error()->text).find(wanted), std::string::npos);
    if (question.elementSize == 3 * sizeof(float)) continue;  // three buffers in one block
    const std::vector<char> large = fill(count + 3, '\x55', MXG_OK);
    const std::vector<char> tail(large.end() - 3 * std::ptrdiff_t(question.elementSize),
                                 large.end());
    EXPECT_EQ(tail, std::vector<char>(tail.size(), '\x55'));
  }
}

TEST_F(GuardSession, NullPointersAreRefused) {
  std::array<float, 8> x{};
  std::uint64_t count = 0;
  for (const ArrayQuestion& question : arrayQuestions()) {
    EXPECT_EQ(question.ask(nullptr, 1000, &count), MXG_NULL_POINTER) << question.name;
  }
  const Codes codes = askAllWithZeros();
  EXPECT_EQ(codes, Codes(codes.size(), MXG_NULL_POINTER));
  EXPECT_EQ(mxg_get_part_coordinates(0, kShell, x.data(), nullptr, x.data(), 8, &count),
            MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_constant_value(0, kConstant, x.data(), nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_begin_walk(1, nullptr, nullptr), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_get_reader_release(nullptr, 1, &count), MXG_NULL_POINTER);
  EXPECT_EQ(mxg_open_file(nullptr, 0), MXG_NULL_POINTER);
}

TEST_F(GuardSession, IndicesThatLeadNowhereAreRefused) {
  std::array<float, 64> values{};
  std::array<std::int32_t, 64> ids{};
  float* const x = values.data();
  std::uint64_t count = 0;
  std::int32_t number = 0;
  const auto component = [&](int step, int state, int variable, int part, int type, int which) {
    return mxg_get_variable_by_component(step, state, variable, part, type, 0, which, x, 64,
                                         &count);
  };
  for (const std::int32_t far : {-1, 100, std::numeric_limits<std::int32_t>::min(),
                                 std::numeric_limits<std::int32_t>::max()}) {
    SCOPED_TRACE(far);
    const Codes codes{mxg_get_number_of_timesteps(far, &count),
                      mxg_get_timesteps_values(far, x, 64, &count),
                      mxg_get_geometry_adaptivity_type(far, &number),
                      mxg_get_part_information(far, nullptr, 0, &count),
                      mxg_get_bounding_box(far, x, 64, &count),
                      mxg_get_part_coordinates(far, kShell, x, x, x, 64, &count),
                      mxg_get_element_connectivity(0, far, kQuads, ids.data(), 64, &count),
                      mxg_get_element_connectivity(0, kShell, far, ids.data(), 64, &count),
                      mxg_get_part_element_ids(0, kShell, far, ids.data(), 64, &count),
                      mxg_has_border_faces(0, far, nullptr, 0, &count),
                      mxg_get_data_size_for_nfaced_connectivity(0, far, &count),
                      mxg_get_number_of_measured_particles(far, &count),
                      mxg_get_variable_geo_type(far, &number),
                      component(far, 0, kSeries, kShell, 0, 0),
                      component(0, far, kSeries, kShell, 0, 0),
                      component(0, 0, far, kShell, 0, 0),
                      component(0, 0, kSeries, far, 0, 0),
                      component(0, 0, kElement, kShell, far, 0),
                      component(0, 0, kSeries, kShell, 0, far),
                      mxg_get_constant_value(far, kConstant, x, x),
                      mxg_get_part_coordinates(0, far, x, x, x, 64, &count)};
    EXPECT_EQ(codes, Codes(codes.size(), MXG_OUT_OF_RANGE));
    EXPECT_EQ(mxg_last_error()->part, far);
  }
  EXPECT_EQ(mxg_get_variable_text(kExact, static_cast<mxg_text>(3), nullptr, 0, &count),
            MXG_OUT_OF_RANGE);
  EXPECT_EQ(values, decltype(values){});
  EXPECT_EQ(ids, decltype(ids){});
}

TEST_F(GuardSession, QuestionsToTheWrongKindAreRefused) {
  std::array<float, 64> values{};
  std::array<std::int32_t, 64> ids{};
  float* const x = values.data();
  std::uint64_t count = 0;
  Codes codes{mxg_get_part_coordinates(0, kBlock, x, x, x, 64, &count),
              mxg_get_block_structured_coordinates(0, kShell, x, x, x, 64, &count),
              mxg_get_variable_by_component(0, 0, kConstant, 0, 0, 0, 0, x, 64, &count),
              mxg_get_variable_by_component(0, 0, kSeries, 0, 0, 1, 0, x, 64, &count),
              mxg_get_constant_value(0, kSeries, x, x),
              mxg_get_block_iblanking(0, kShell, ids.data(), 64, &count)};
  for (int type = 30; type < MXG_ELEMENT_TYPES; ++type) {
    codes.push_back(mxg_get_element_connectivity(0, kShell, type, ids.data(), 64, &count));
  }
  EXPECT_EQ(codes, Codes(codes.size(), MXG_WRONG_KIND));
  EXPECT_EQ(mxg_get_block_iblanking(0, kBlock, ids.data(), 64, &count), MXG_REFUSED);
  EXPECT_EQ(values, decltype(values){});
}

TEST_F(GuardSession, VariableThatIsNotDefinedOnAPartIsNoFailure) {
  std::array<float, 8> values{};
  std::uint64_t count = 7;
  EXPECT_EQ(mxg_get_variable_by_component(0, 0, kExact, kBlock, 0, 0, 0, values.data(), 8, &count),
            MXG_NOT_DEFINED);
  EXPECT_EQ(count, 0U);
}

TEST_F(GuardSession, BorderFacesNeedAllThreeBuffers) {
  std::array<std::int32_t, 3> nodes{};
  std::int32_t parent = 0;
  std::int16_t type = 0;
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
  EXPECT_EQ(ask(nodes.data(), 2, &parent, &type, 1), MXG_BUFFER_TOO_SMALL);
  EXPECT_EQ(ask(nodes.data(), 3, &parent, &type, 0), MXG_BUFFER_TOO_SMALL);
  EXPECT_EQ(ask(nodes.data(), 3, &parent, nullptr, 1), MXG_NULL_POINTER);
  EXPECT_EQ(ask(nullptr, 0, &parent, &type, 1), MXG_NULL_POINTER);
  EXPECT_EQ(nodes, decltype(nodes){});
  EXPECT_EQ(ask(nodes.data(), 3, &parent, &type, 1), MXG_OK);
  EXPECT_EQ(nodes, (std::array<std::int32_t, 3>{1, 2, 3}));
  EXPECT_EQ(parent, 7);
  EXPECT_EQ(type, 14);
}

}  // namespace
}  // namespace morvex::guard

#include "guard/guard_session.hpp"

namespace morvex::guard {
namespace {

template <class T>
std::array<T*, 3> split(void* buffer, std::uint64_t capacity) {
  if (!buffer) return {};
  T* first = static_cast<T*>(buffer);
  return {first, first + capacity, first + 2 * capacity};
}

/// A question about a part whose answer is one list of whole numbers.
ArrayQuestion table(const char* name, mxg_code (*ask)(std::int32_t, std::int32_t, std::int32_t*,
                                                      std::uint64_t, std::uint64_t*)) {
  return {name, sizeof(std::int32_t), [ask](void* buffer, auto capacity, auto* count) {
            return ask(0, kShell, static_cast<std::int32_t*>(buffer), capacity, count);
          }};
}

}  // namespace

const std::vector<ArrayQuestion>& arrayQuestions() {
  static const std::vector<ArrayQuestion> questions{
      {"release", 1,
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_reader_release(static_cast<char*>(buffer), capacity, count);
       }},
      {"times", sizeof(float),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_timesteps_values(0, static_cast<float*>(buffer), capacity, count);
       }},
      {"parts", sizeof(mxg_part),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_part_information(0, static_cast<mxg_part*>(buffer), capacity, count);
       }},
      {"part name", 1,
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_part_name(0, kBlock, static_cast<char*>(buffer), capacity, count);
       }},
      table("node ids", &mxg_get_part_node_ids),
      {"element ids", sizeof(std::int32_t),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_part_element_ids(0, kShell, kQuads, static_cast<std::int32_t*>(buffer),
                                         capacity, count);
       }},
      {"box", sizeof(float),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_bounding_box(0, static_cast<float*>(buffer), capacity, count);
       }},
      {"coordinates", 3 * sizeof(float),
       [](void* buffer, auto capacity, auto* count) {
         const auto [x, y, z] = split<float>(buffer, capacity);
         return mxg_get_part_coordinates(3, kShell, x, y, z, capacity, count);
       }},
      {"block coordinates", 3 * sizeof(float),
       [](void* buffer, auto capacity, auto* count) {
         const auto [x, y, z] = split<float>(buffer, capacity);
         return mxg_get_block_structured_coordinates(2, kBlock, x, y, z, capacity, count);
       }},
      {"connectivity", sizeof(std::int32_t),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_element_connectivity(0, kShell, kQuads, static_cast<std::int32_t*>(buffer),
                                             capacity, count);
       }},
      table("nodes per n-sided", &mxg_get_nsided_number_of_nodes_per_face),
      table("n-sided", &mxg_get_nsided_connectivity),
      table("faces per n-faced", &mxg_get_nfaced_number_of_faces_per_element),
      table("nodes per face", &mxg_get_nfaced_nodes_per_face),
      table("n-faced", &mxg_get_nfaced_connectivity),
      {"border faces by type", sizeof(std::uint64_t),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_has_border_faces(0, kShell, static_cast<std::uint64_t*>(buffer), capacity,
                                     count);
       }},
      {"particle ids", sizeof(std::int32_t),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_measured_particle_ids(0, static_cast<std::int32_t*>(buffer), capacity,
                                              count);
       }},
      {"particles", 3 * sizeof(float),
       [](void* buffer, auto capacity, auto* count) {
         const auto [x, y, z] = split<float>(buffer, capacity);
         return mxg_get_measured_particle_coordinates(0, x, y, z, capacity, count);
       }},
      {"variables", sizeof(mxg_variable),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_variable_information(static_cast<mxg_variable*>(buffer), capacity, count);
       }},
      {"imaginary name", 1,
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_variable_text(kExact, MXG_IMAGINARY_NAME, static_cast<char*>(buffer),
                                      capacity, count);
       }},
      {"values per node", sizeof(float),
       [](void* buffer, auto capacity, auto* count) {
         return mxg_get_variable_by_component(0, 0, kExact, kShell, 0, 1, 0,
                                              static_cast<float*>(buffer), capacity, count);
       }},
      {"values per element", sizeof(float), [](void* buffer, auto capacity, auto* count) {
         return mxg_get_variable_by_component(0, 0, kElement, kShell, kQuads, 0, 0,
                                              static_cast<float*>(buffer), capacity, count);
       }}};
  return questions;
}

}  // namespace morvex::guard

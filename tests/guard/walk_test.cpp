// Progress and cancelling.

#include <stdexcept>

#include "guard/guard_session.hpp"

namespace morvex::guard {
namespace {

/// What a progress function was told.
struct Told {
  std::vector<std::uint64_t> done{};
  std::uint64_t total = 0;
  std::uint64_t bytes = 0;
  std::uint64_t cancelAt = 100;
};

std::int32_t listen(void* user, std::uint64_t done, std::uint64_t total, std::uint64_t bytes) {
  auto& told = *static_cast<Told*>(user);
  told.done.push_back(done);
  told.total = total;
  told.bytes = bytes;
  return done >= told.cancelAt ? 1 : 0;
}

mxg_code readConnectivity() {
  std::array<std::int32_t, 8> nodes{};
  std::uint64_t count = 0;
  return mxg_get_element_connectivity(0, kShell, kQuads, nodes.data(), nodes.size(), &count);
}

TEST_F(GuardSession, WalkIsToldOfEachArrayAndNoOtherQuestion) {
  Told told;
  ASSERT_EQ(mxg_begin_walk(3, &listen, &told), MXG_OK);
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_number_of_parts(&count), MXG_OK);
  EXPECT_EQ(readConnectivity(), MXG_OK);
  EXPECT_EQ(mxg_get_element_connectivity(0, kShell, kQuads, nullptr, 0, &count), MXG_OK);
  EXPECT_EQ(readConnectivity(), MXG_OK);
  EXPECT_EQ(told.done, (std::vector<std::uint64_t>{0, 1, 2}));
  EXPECT_EQ(told.total, 3U);
  EXPECT_EQ(told.bytes, 2U * 8 * sizeof(std::int32_t));
  EXPECT_EQ(mxg_end_walk(), MXG_OK);
  EXPECT_EQ(readConnectivity(), MXG_OK);
  EXPECT_EQ(told.done.size(), 3U);
}

TEST_F(GuardSession, CancelledWalkReadsNothingUntilItEnds) {
  Told told{.cancelAt = 1};
  ASSERT_EQ(mxg_begin_walk(9, &listen, &told), MXG_OK);
  EXPECT_EQ(readConnectivity(), MXG_OK) << "it was done when the function cancelled";
  std::array<float, 8> x{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_part_coordinates(0, kShell, x.data(), x.data(), x.data(), 8, &count),
            MXG_CANCELLED);
  EXPECT_EQ(x, decltype(x){});
  EXPECT_EQ(mxg_get_number_of_parts(&count), MXG_OK) << "look-ups are no part of it";
  EXPECT_EQ(told.done.size(), 2U);
  EXPECT_EQ(mxg_end_walk(), MXG_CANCELLED);
  EXPECT_EQ(mxg_end_walk(), MXG_OK);
  EXPECT_EQ(readConnectivity(), MXG_OK);
}

TEST_F(GuardSession, ProgressFunctionIsNotServed) {
  const auto asks = [](void* user, std::uint64_t, std::uint64_t, std::uint64_t) -> std::int32_t {
    std::uint64_t count = 0;
    static_cast<std::vector<mxg_code>*>(user)->push_back(mxg_get_number_of_parts(&count));
    return 0;
  };
  std::vector<mxg_code> codes;
  EXPECT_EQ(mxg_begin_walk(1, asks, &codes), MXG_OK);
  EXPECT_EQ(readConnectivity(), MXG_OK);
  EXPECT_EQ(mxg_last_error()->code, MXG_OK);
  EXPECT_EQ(codes, (std::vector{MXG_BUSY, MXG_BUSY}));
}

TEST_F(GuardSession, ProgressFunctionThatThrowsCancels) {
  const auto throws = [](void*, std::uint64_t, std::uint64_t, std::uint64_t) -> std::int32_t {
    throw std::runtime_error("no more");
  };
  EXPECT_EQ(mxg_begin_walk(1, throws, nullptr), MXG_CANCELLED);
  EXPECT_EQ(readConnectivity(), MXG_CANCELLED);
}

}  // namespace
}  // namespace morvex::guard

// Whatever the library throws becomes a code and a text.

#include <dlfcn.h>

#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <thread>

#include "core/error.hpp"
#include "guard/guard_session.hpp"
#include "morvex/morvex_ensg.h"

namespace {

/// What the library's answers below are replaced by.
std::exception_ptr thrownInstead;
/// Nodes that the part 0 has in a state 1; 0 for no such state.
int nodesInStateOne = 0;
/// Parts behind the first are not there.
bool hasOnePart = false;

template <class Function>
Function* libraryFunction(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand before the library's own in the process, so that the guard asks them. They pass on
// what they are not told to change.

int MX_getNumberOfTimesets(void) {
  if (thrownInstead) std::rethrow_exception(thrownInstead);
  static auto* const next = libraryFunction<decltype(MX_getNumberOfTimesets)>(__func__);
  return next();
}

int MX_getPartInformation(int timestep, int* ids, int* types, char** names, int* nodes,
                          int** elements, int** extents, int** options) {
  static auto* const next = libraryFunction<decltype(MX_getPartInformation)>(__func__);
  const bool isAdded = timestep == 1 && nodesInStateOne > 0;
  const int idBefore = ids[1];
  const int status =
      next(isAdded ? 0 : timestep, ids, types, names, nodes, elements, extents, options);
  if (isAdded) nodes[0] = nodesInStateOne;
  if (hasOnePart) ids[1] = idBefore;  // what is not there is not written
  return status;
}

namespace morvex::guard {
namespace {

struct Unknown {};

template <class E>
E library(const char* text) {
  return E(E::kTypeName, text, "<file>", -1, "<function>");
}

class GuardFailures : public GuardSession {
 protected:
  ~GuardFailures() override {
    thrownInstead = nullptr;
    nodesInStateOne = 0;
    hasOnePart = false;
  }

  template <class E>
  mxg_code codeOf(const E& failure) {
    thrownInstead = std::make_exception_ptr(failure);
    std::uint64_t count = 0;
    const mxg_code code = mxg_get_number_of_timesets(&count);
    thrownInstead = nullptr;
    EXPECT_EQ(mxg_last_error()->code, code);
    return code;
  }
  static std::string text() { return mxg_last_error()->text; }
};

TEST_F(GuardFailures, EachClassHasItsCode) {
  EXPECT_EQ(codeOf(std::bad_alloc()), MXG_OUT_OF_MEMORY);
  EXPECT_EQ(codeOf(std::bad_array_new_length()), MXG_OUT_OF_MEMORY);
  EXPECT_EQ(codeOf(library<Kelbor::MemoryAllocationException>("lost")), MXG_OUT_OF_MEMORY);
  EXPECT_EQ(codeOf(library<Kelbor::Exception>("lost")), MXG_NOT_DECODED);
  EXPECT_EQ(codeOf(library<Kelbor::KelborDataException>("lost")), MXG_DAMAGED_DATA);
  EXPECT_EQ(codeOf(library<Kelbor::TypeMismatchException>("lost")), MXG_DAMAGED_DATA);
  EXPECT_EQ(codeOf(UsageException("lost")), MXG_AMBIGUOUS);
  EXPECT_EQ(codeOf(InternalError("lost")), MXG_DAMAGED_RECORD);
  EXPECT_EQ(codeOf(std::out_of_range("lost")), MXG_DAMAGED_RECORD);
  EXPECT_EQ(codeOf(std::invalid_argument("lost")), MXG_DAMAGED_RECORD);
  EXPECT_EQ(codeOf(std::bad_cast()), MXG_DAMAGED_RECORD);
  EXPECT_EQ(codeOf(std::length_error("lost")), MXG_TOO_LARGE);
  EXPECT_EQ(codeOf(std::logic_error("lost")), MXG_WRONG_KIND);
  EXPECT_EQ(codeOf(std::runtime_error("lost")), MXG_NOT_DECODED);
  EXPECT_EQ(codeOf(Unknown()), MXG_UNKNOWN);
  EXPECT_EQ(codeOf(7), MXG_UNKNOWN);
}

TEST_F(GuardFailures, TextIsTheFirstLineOfTheReason) {
  codeOf(std::logic_error("first\nsecond"));
  EXPECT_EQ(text(), "first");
  codeOf(InternalError("a recipe"));
  EXPECT_EQ(text(), "a recipe");
  codeOf(library<Kelbor::KelborDataException>("a payload"));
  EXPECT_NE(text().find("a payload"), std::string::npos);
  codeOf(std::logic_error(std::string(5000, 'x')));
  EXPECT_EQ(text(), std::string(MXG_TEXT_SIZE - 1, 'x'));
  codeOf(Unknown());
  EXPECT_NE(text().find("Unknown"), std::string::npos);
}

TEST_F(GuardFailures, MissingDatasetIsNamed) {
  std::array<float, 8> values{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_variable_by_component(2, 2, kExact, kShell, 0, 0, 0, values.data(), 8, &count),
            MXG_NO_SUCH_DATA);
  const mxg_error& error = *mxg_last_error();
  EXPECT_STREQ(error.dataset, "/variable/exact/2/0/0_data");
  EXPECT_STREQ(error.text, "no such dataset");
  EXPECT_EQ(error.step, 2);
  EXPECT_EQ(error.part, kShell);
}

TEST_F(GuardFailures, DamagedDatasetAmongSeveralIsFound) {
  for (int axis = 0; axis < 3; ++axis) {
    Writer::ResultImage image = file_.image();
    const std::string path = "/geometry/0/3/0/coordinates_" + std::to_string(axis);
    auto& bytes = image[path];
    std::fill(bytes.begin() + 8, bytes.end(), std::byte{0xFF});  // all but the recipe
    open(image);
    std::array<float, 8> x{}, y{}, z{};
    std::uint64_t count = 0;
    EXPECT_EQ(mxg_get_part_coordinates(3, kShell, x.data(), y.data(), z.data(), 8, &count),
              MXG_DAMAGED_DATA);
    const mxg_error& error = *mxg_last_error();
    EXPECT_EQ(error.dataset, path);
    EXPECT_STRNE(error.text, "");
    EXPECT_EQ(error.step, 3);
    EXPECT_EQ(error.part, kShell);
    EXPECT_EQ(mxg_get_part_coordinates(2, kShell, x.data(), y.data(), z.data(), 8, &count), MXG_OK)
        << "the session goes on";
    EXPECT_EQ(error.code, MXG_OK);
    EXPECT_STREQ(error.dataset, "");
    EXPECT_STREQ(error.text, "");
  }
}

TEST_F(GuardFailures, RecipeThatIsNotThereIsADamagedRecord) {
  Writer::ResultImage image = file_.image();
  auto& bytes = image["/geometry/0/0/0/10_elementnodeids"];
  bytes[0] = std::byte{99};
  open(image);
  std::array<std::int32_t, 8> nodes{};
  std::uint64_t count = 0;
  EXPECT_EQ(mxg_get_element_connectivity(0, kShell, kQuads, nodes.data(), 8, &count),
            MXG_DAMAGED_RECORD);
  EXPECT_STREQ(mxg_last_error()->dataset, "/geometry/0/0/0/10_elementnodeids");
}

TEST_F(GuardFailures, CoordinatesAreCheckedByTheStateThatTheyAreReadBy) {
  std::array<float, 8> x{}, y{}, z{};
  std::uint64_t count = 0;
  nodesInStateOne = 1000;
  EXPECT_EQ(mxg_get_part_coordinates(0, kShell, x.data(), y.data(), z.data(), 8, &count), MXG_OK);
  EXPECT_EQ(mxg_get_part_coordinates(3, kShell, x.data(), y.data(), z.data(), 8, &count),
            MXG_BUFFER_TOO_SMALL);
  EXPECT_EQ(count, 1000U);
}

TEST_F(GuardFailures, PartsThatAStateDoesNotHaveAreNotCounted) {
  std::uint64_t count = 0;
  hasOnePart = true;
  EXPECT_EQ(mxg_get_part_information(0, nullptr, 0, &count), MXG_OK);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(mxg_get_part_name(0, kBlock, nullptr, 0, &count), MXG_OUT_OF_RANGE);
}

TEST_F(GuardFailures, EachThreadHasItsOwnError) {
  std::uint64_t count = 0;
  ASSERT_EQ(mxg_get_number_of_timesteps(-1, &count), MXG_OUT_OF_RANGE);
  std::thread([] {
    EXPECT_EQ(mxg_last_error()->code, MXG_OK);
    EXPECT_EQ(mxg_exit(), MXG_OK);
    EXPECT_EQ(mxg_exit(), MXG_NO_SESSION);
  }).join();
  EXPECT_EQ(mxg_last_error()->code, MXG_OUT_OF_RANGE);
}

TEST_F(GuardFailures, ThreadsAreServedOneAfterTheOther) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int k = 0; k < 50; ++k) {
        std::array<float, 8> values{};
        std::uint64_t count = 0;
        const int step = (k + t) % kSteps;
        EXPECT_EQ(mxg_get_variable_by_component(step, step, kSeries, kShell, 0, 0, 0, values.data(),
                                                8, &count),
                  MXG_OK);
        const auto s = static_cast<float>(step);
        EXPECT_EQ(values, (std::array<float, 8>{s, s * s, 10 - s, 1, 2, 3 * s, 0, 0}));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(GuardCodes, EveryCodeHasAName) {
  for (int code = MXG_OK; code <= MXG_UNKNOWN; ++code) {
    EXPECT_EQ(std::string(mxg_code_name(static_cast<mxg_code>(code))).substr(0, 4), "MXG_");
  }
  EXPECT_STREQ(mxg_code_name(MXG_OUT_OF_MEMORY), "MXG_OUT_OF_MEMORY");
  EXPECT_STREQ(mxg_code_name(MXG_UNKNOWN), "MXG_UNKNOWN");
  EXPECT_STREQ(mxg_code_name(static_cast<mxg_code>(MXG_UNKNOWN + 1)), "?");
}

}  // namespace
}  // namespace morvex::guard

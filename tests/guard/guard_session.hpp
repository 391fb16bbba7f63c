#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "morvex/morvex_guard.h"
#include "support/small_file.hpp"
#include "support/temporary_path.hpp"

namespace morvex::guard {

/// Numbers of what describeSmallFile makes.
enum Part { kShell, kBlock, kPartCount };
enum Variable { kExact, kSeries, kForest, kElement, kConstant, kVariableCount };
constexpr int kSteps = 5;
constexpr int kTriangles = 6;
constexpr int kQuads = 10;

/// An array question with one buffer, or several in one block, each of the capacity.
struct ArrayQuestion {
  const char* name;
  std::size_t elementSize;
  std::function<mxg_code(void* buffer, std::uint64_t capacity, std::uint64_t* count)> ask;
};

/// All of them, about something that the small file has.
const std::vector<ArrayQuestion>& arrayQuestions();

/// A small file with each stored form, open behind the guard.
class GuardSession : public testing::Test {
 protected:
  GuardSession() { describeSmallFile(file_); }
  ~GuardSession() override {
    mxg_end_walk();
    mxg_exit();
  }

  void SetUp() override { open(file_.image()); }

  void open(const Writer::ResultImage& image) {
    image.write(path_.string());
    ASSERT_EQ(mxg_open_file(path_.string().c_str(), 0), MXG_OK) << mxg_last_error()->text;
  }

  Writer::ResultFileBuilder file_;
  TemporaryPath path_{"guard.sdf"};
};

}  // namespace morvex::guard

#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "morvex/morvex_guard.h"
#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"

namespace morvex::guard {

/// Numbers of what describeSmallFile makes.
enum Part { kShell, kBlock, kPartCount };
enum Variable { kExact, kSeries, kForest, kElement, kConstant, kVariableCount };
constexpr int kSteps = 5;
constexpr int kTriangles = 6;
constexpr int kQuads = 10;

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

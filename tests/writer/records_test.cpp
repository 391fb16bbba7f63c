#include <stdexcept>

#include "result_session.hpp"

namespace morvex::Writer {
namespace {

class Records : public ResultSession {
 protected:
  Records() {
    file_.part("hull").nodes({1, 2, -3}, {4, 5, 6}, {7, 8, 9.5F}).elements(6, {1, 2, 3});
    file_.part("block").nodes({0}, {0}, {0}).block({1, 1, 1, 5}, 1);
  }

  ResultFileBuilder file_;
};

TEST_F(Records, OfVariablesMayHaveEitherVersion) {
  file_.variable("force", Location::perNode, 5).constant({1.5F});
  file_.variable("sound", Location::perElement, 6).set({.elementType = 6}, {1});
  for (const MetadataVersion& version : {MetadataVersion{0, 0, 0}, MetadataVersion{0, 1, 0}}) {
    file_.variableRecordVersion = version;
    open(file_);
    ASSERT_EQ(MX_getNumberOfVariables(), 2);
    expectSameBits(variable(1, {.elementType = 6}, 1), {1});
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

TEST_F(Records, WhatIsWiderThanItsFieldIsRefused) {
  file_.part(std::string(81, 'x')).nodes({}, {}, {});
  EXPECT_THROW(static_cast<void>(file_.image()), std::invalid_argument);
}

}  // namespace
}  // namespace morvex::Writer

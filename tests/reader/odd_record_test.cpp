// Records that are intact and say what no solver writes, asked for through the exports.

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/error.hpp"
#include "morvex/morvex_ensg.h"
#include "support/log_capture.hpp"
#include "support/message_of.hpp"
#include "support/temporary_path.hpp"
#include "writer/result_file.hpp"

namespace morvex {
namespace {

class OddRecordTest : public testing::Test {
 protected:
  ~OddRecordTest() override { MX_exit(); }

  void open(const Writer::ResultImage& image) {
    image.write(path_.string());
    ASSERT_EQ(MX_openFile(path_.string().c_str(), 0), 0);
  }
  /// A part of two nodes and one of none, with the variable "ab".
  OddRecordTest() {
    file_.part("p").nodes({0, 1}, {0, 1}, {0, 1});
    file_.part("q").nodes({}, {}, {});
    file_.variable("ab", Writer::Location::kPerNode).set({}, {3, 4}).set({.part = 1}, {});
  }
  /// The file after `change` was made to the record of its variable.
  template <class Change>
  Writer::ResultImage imageWith(Change&& change) {
    Writer::ResultImage image = file_.image();
    Writer::Bytes& bytes = image[kVariables];
    const std::vector<std::uint64_t> parts{2};
    VariableMetaData record = readVariableMetaData(bytes, 1, file_.nameWidth, parts);
    change(record);
    bytes = Writer::variableBytes(record, file_.nameWidth);
    return image;
  }
  static CaseMetaData caseOf(const Writer::ResultImage& image, StoredBox& box) {
    return readCaseMetaData(image.at(kCase), box);
  }
  static auto statesOf(const Writer::ResultImage& image) {
    StoredBox box{};
    const CaseMetaData record = caseOf(image, box);
    return readGeometryMetadata(image.at(kGeometry), record, geometryStateCounts(record));
  }
  int read() { return MX_getVariableByComponent(0, 0, 0, 0, 1, 0, 0, 0, values_.data()); }

  static constexpr const char* kCase = "/kelbor/casemetadata";
  static constexpr const char* kGeometry = "/kelbor/geometrymetadata";
  static constexpr const char* kVariables = "/kelbor/variablemetadata";

  Kelbor::LogCapture log_{Kelbor::LogLevel::kError};
  Writer::ResultFileBuilder file_;
  TemporaryPath path_{"odd.sdf"};
  std::array<float, 2> values_{77, 77};
};

constexpr std::array<float, 2> kUntouched{77, 77};

TEST_F(OddRecordTest, LaterStateWithMorePartsThanTheHostHasRoomForIsRefused) {
  Writer::ResultFileBuilder file;
  file.modelChanges(GeometryChange::kConnectivity, file.timeSet({0, 1}));
  file.part("p").nodes({0}, {0}, {0}).nodes({0}, {0}, {0}, 1);
  const auto small = statesOf(file.image());
  file.part("q").nodes({0}, {0}, {0}).nodes({0}, {0}, {0}, 1);
  Writer::ResultImage image = file.image();
  auto states = statesOf(image);
  states.at(0).at(0) = small.at(0).at(0);
  image[kGeometry] = Writer::geometryBytes(states, file.nameWidth);
  open(image);
  ASSERT_EQ(MX_getNumberOfParts(), 1);
  int id = 77, type = 77, nodes = 77;
  std::array<char, 81> name{};
  std::array<int, MX_ELEMENT_TYPES> counts{};
  char* names = name.data();
  int* elements = counts.data();
  const auto ask = [&](int step) {
    return MX_getPartInformation(step, &id, &type, &names, &nodes, &elements, nullptr, nullptr);
  };
  EXPECT_EQ(messageOf<std::length_error>([&] { ask(1); }),
            "A later state has more parts than the first");
  EXPECT_EQ(id, 77);
  EXPECT_EQ(ask(0), 0);
  EXPECT_EQ(nodes, 1);
}

TEST_F(OddRecordTest, VariableOfAThirdGeometryIsRefusedWithItsLine) {
  Writer::ResultImage image =
      imageWith([](VariableMetaData& record) { record.geometryIndices.at(0) = 2; });
  StoredBox box{};
  CaseMetaData record = caseOf(image, box);
  auto states = statesOf(image);
  while (states.size() < 3) {
    record.geometryKinds.push_back(2);
    record.geometryChangeTypes.push_back(GeometryChange::kStatic);
    record.geometryTimesets.push_back(kNoTimeset);
    record.geometryExtra.push_back(0);
    record.geometryTexts.emplace_back();
    states.push_back(states[0]);
  }
  record.numGeometries = 3;
  image[kCase] = Writer::caseBytes(record, box);
  image[kGeometry] = Writer::geometryBytes(states, file_.nameWidth);
  open(image);
  const Kelbor::LogCapture log(Kelbor::LogLevel::kError);
  EXPECT_EQ(read(), -1);
  EXPECT_EQ(values_, kUntouched);
  EXPECT_EQ(log.text(), "ERROR: Unsupported Geometry Type\n");
}

TEST_F(OddRecordTest, LocationThatIsNeitherIsReadAsAnEmptyDatasetNamedByTheStep) {
  Writer::ResultImage image = imageWith([](VariableMetaData& record) { record.locations[0] = 2; });
  open(image);
  EXPECT_THROW(read(), std::runtime_error) << "there is none";
  MX_exit();
  image["/variable/ab/0/0/0_0_data"] = image.at("/variable/ab/0/1/0_data");
  open(image);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(values_, kUntouched);
}

TEST_F(OddRecordTest, NameThatTwoPatternsMatchHasNoPrecision) {
  Writer::ResultFileBuilder file;
  file.part("p").nodes({0, 1}, {0, 1}, {0, 1});
  const auto step = Writer::Quantisation::uniform(0.5);
  file.variable("ab", Writer::Location::kPerNode).quantised(step, false).set({}, {3, 4});
  file.precision("a*", {QuantizationType::UniformQuantization, {0.5}});
  file.precision("*b", {QuantizationType::UniformQuantization, {0.5}});
  open(file.image());
  EXPECT_EQ(messageOf<UsageException>([&] { read(); }),
            "Precision file: More than one match for variable ab");
  EXPECT_EQ(values_, kUntouched);
}

}  // namespace
}  // namespace morvex

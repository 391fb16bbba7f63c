#include "simulation/metadata_load.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "core/error.hpp"
#include "simulation/simulation.hpp"
#include "support/log_capture.hpp"
#include "support/temporary_path.hpp"
#include "writer/result_file.hpp"

namespace morvex {
namespace {

using Writer::Location;
using Writer::ResultFileBuilder;

class MetadataLoadTest : public testing::Test {
 protected:
  static ResultFileBuilder smallFile() {
    ResultFileBuilder file;
    const std::uint32_t timeset = file.timeSet({0, 1, 2});
    file.part("p").nodes({1, 2}, {3, 4}, {5, 6});
    auto& v = file.variable("v", Location::kPerNode).onTimeSet(timeset).timeDifferences();
    for (int step = 0; step < 3; ++step) v.set({.step = step}, {1, 2});
    file.timeBlocks(2);
    return file;
  }

  std::unique_ptr<EnsgSimulation> open(const Writer::ResultImage& image) {
    image.write(path_.string());
    return std::make_unique<EnsgSimulation>(&manager_, path_.string(), false);
  }

  TemporaryPath path_{"load.sdf"};
  Kelbor::LogCapture quiet_{Kelbor::LogLevel::kSilent};
  Kelbor::DataManager manager_;
};

TEST_F(MetadataLoadTest, TasksRunInTheirOrder) {
  ResultFileBuilder file = smallFile();
  file.requiredVersion = {7, 0, 1048};
  file.write(path_.string());
  const Kelbor::LogCapture log(Kelbor::LogLevel::kDebug);
  const EnsgSimulation simulation(&manager_, path_.string(), false);
  EXPECT_EQ(log.text(),
            "STATUS: Reading Metadata...\n"
            "DEBUG: Running Task: /kelbor/version\n"
            "STATUS: File requires minimum Version 7.0.1048\n\n"
            "DEBUG: Running Task: /kelbor/casemetadata\n"
            "DEBUG: Running Task: /kelbor/geometrymetadata\n"
            "DEBUG: Running Task: /kelbor/octreemetadata\n"
            "DEBUG: Running Task: /kelbor/variablemetadata.\n"
            "DEBUG: Running Task: /kelbor/precisions\n"
            "DEBUG: Running Task: /kelbor/recipes.\n"
            "DEBUG: Running Task: /kelbor/recipe_con_params.\n"
            "DEBUG: Running Task: /kelbor/timediffsmd.\n"
            "DEBUG: Pattern for var=v, timeset=0: KBK\n"
            "DEBUG: Running Task: /kelbor/metadatapertimestep.\n"
            "DEBUG: File Version is 7.00.1048\n"
            "STATUS: Reading Metadata... done.\n\n");
}

TEST_F(MetadataLoadTest, VersionOfTheFileIsComparedPartByPart) {
  for (const MetadataVersion& version :
       {MetadataVersion{7, 0, 1049}, MetadataVersion{7, 1, 0}, MetadataVersion{8, 0, 0}}) {
    ResultFileBuilder file = smallFile();
    file.requiredVersion = version;
    try {
      (void)open(file.image());
      ADD_FAILURE() << version.toString() << " was opened";
    } catch (const UsageException& failure) {
      EXPECT_EQ(failure.getMessage(), "File requires Morvex Version " + version.toString() +
                                          " - Current Version is 7.0.1048");
    }
  }
  ResultFileBuilder old = smallFile();
  old.requiredVersion = {6, 9, 9999};
  EXPECT_NO_THROW((void)open(old.image()));
}

TEST_F(MetadataLoadTest, FileWithoutVersionHasNoMetadata) {
  Writer::ResultImage image = smallFile().image();
  image.erase("/kelbor/version");
  const auto simulation = open(image);
  EXPECT_TRUE(simulation->metadata().geometryMetaData.empty());
  EXPECT_TRUE(simulation->metadata().variableMetaData.names.empty());
}

TEST_F(MetadataLoadTest, MissingRecordIsMissedWhereItIsNeeded) {
  Writer::ResultImage image = smallFile().image();
  image.erase("/kelbor/timediffsmd");
  const auto simulation = open(image);
  std::vector<float> values(2);
  EXPECT_THROW(simulation->readVariableComponent(0, 0, 0, -1, 0, false, {values.data(), 2}, false),
               std::out_of_range);
}

TEST_F(MetadataLoadTest, GapsInTimeSetsCloseUp) {
  ResultFileBuilder file = smallFile();
  file.timeSet({10});
  file.timeSet({20});
  Writer::ResultImage image = file.image();
  image.erase("/timesets/ts_1");
  image["/timesets/ts_01"] = image.at("/timesets/ts_2");  // no such number
  const auto simulation = open(image);
  const auto& timeSets = simulation->metadata().timeSets;
  ASSERT_EQ(timeSets.size(), 2U);
  EXPECT_EQ(timeSets[1]->index(), 2U);
  EXPECT_EQ(timeSets[1]->timeValues(), (std::vector<float>{20}));
}

TEST_F(MetadataLoadTest, TimeDifferencesNeedBlocks) {
  Writer::ResultImage image = smallFile().image();
  const std::uint32_t tooSmall = 1;
  std::memcpy(image["/kelbor/timediffsmd"].data() + 12, &tooSmall, sizeof tooSmall);
  EXPECT_THROW((void)open(image), std::logic_error);
}

}  // namespace
}  // namespace morvex

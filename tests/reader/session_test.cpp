#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "morvex/morvex_ensg.h"
#include "reader/workflow_log.hpp"
#include "support/log_capture.hpp"
#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"

namespace morvex {
namespace {

using Kelbor::LogCapture;
using Kelbor::LogLevel;

class SessionTest : public testing::Test {
 protected:
  SessionTest() {
    Writer::ResultFileBuilder file;
    describeSmallFile(file);
    file.write(path_.string());
  }
  ~SessionTest() override {
    if (MX_getNumberOfParts() > 0) MX_exit();
  }

  int open() { return MX_openFile(path_.string().c_str(), 0); }

  TemporaryPath path_{"session.sdf"};
};

std::string contentOf(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST_F(SessionTest, QuestionsWithoutAFileAreRefusedWithOneLineAndWriteNothing) {
  int number = 77;
  float value = 77.0F;
  char text[2] = {77, 77};
  char* row = text;
  int* numbers = &number;
  short word = 77;
  const std::vector<std::pair<int, std::function<int()>>> questions{
      {0, [] { return MX_exit(); }},
      {0, [] { return MX_getNumberOfTimesets(); }},
      {-1, [] { return MX_getGeometryAdaptivityType(0); }},
      {0, [] { return MX_getNumberOfTimesteps(0); }},
      {-1, [&] { return MX_getTimestepsValues(0, &value); }},
      {0, [] { return MX_hasElementIds(); }},
      {0, [] { return MX_getNumberOfParts(); }},
      {-1,
       [&] {
         return MX_getPartInformation(0, &number, &number, &row, &number, &numbers, &numbers,
                                      &numbers);
       }},
      {-1, [&] { return MX_getPartCoordinates(0, 0, &value, &value, &value); }},
      {-1, [&] { return MX_getBlockIblanking(0, 0, &number); }},
      {-1, [&] { return MX_getElementConnectivity(0, 0, 6, &number); }},
      {0, [] { return MX_getDataSizeForNSidedConnectivity(0, 0); }},
      {0, [] { return MX_hasMeasuredGeometry(); }},
      {0, [] { return MX_getNumberOfMeasuredParticles(0); }},
      {-1, [&] { return MX_getBoundingBox(0, &value); }},
      {0, [&] { return MX_hasBorderFaces(0, 0, &number); }},
      {-1, [&] { return MX_getBorderFacesConnByType(0, 0, 6, &number, &number, &word); }},
      {0, [] { return MX_getNumberOfVariables(); }},
      {-1, [] { return MX_getVariableGeoType(0); }},
      {-1, [&] { return MX_getVariableByComponent(0, 0, 0, 0, 1, 0, 0, 0, &value); }},
      {-1, [&] { return MX_getConstantValue(0, 0, &value, &value); }},
      {0, [] { return MX_finishedGeometryProcessing(), 0; }}};
  for (const auto& [refusal, question] : questions) {
    const LogCapture log;
    EXPECT_EQ(question(), refusal);
    const std::string lines = log.text();
    EXPECT_EQ(lines.rfind("ERROR: MX_", 0), 0U) << lines;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1) << lines;
  }
  EXPECT_EQ(number, 77);
  EXPECT_EQ(value, 77.0F);
  EXPECT_EQ(word, 77);
  EXPECT_EQ(text[0], 77);
}

TEST_F(SessionTest, WhatIsNoResultFileIsRefusedWithOneFatalLineThatNamesIt) {
  const TemporaryPath foreign("foreign.txt");
  std::ofstream(foreign.string()) << std::string(100, 'x');
  const TemporaryPath empty("empty.sdf");
  std::ofstream(empty.string()).flush();
  for (const std::string& path : {foreign.string(), empty.string(), std::string("/no/such/file"),
                                  std::string("/"), std::string()}) {
    const LogCapture log(LogLevel::fatal);
    EXPECT_EQ(MX_openFile(path.c_str(), 0), -1);
    const std::string expected =
        "FATAL: MX_openFile: the type of file '" + path + "' is unknown or invalid (";
    EXPECT_EQ(log.text().rfind(expected, 0), 0U) << log.text();
    EXPECT_EQ(log.text().find('\n'), log.text().size() - 1) << log.text();
  }
  const LogCapture log(LogLevel::silent);
  EXPECT_EQ(MX_openFile(nullptr, 0), -1);
}

TEST_F(SessionTest, SecondOpenEndsTheFirstEvenIfItFails) {
  ASSERT_EQ(open(), 0);
  {
    const LogCapture log;
    ASSERT_EQ(open(), 0);
    EXPECT_NE(log.text().find("WARNING: MX_openFile called without closing existing reader!\n"),
              std::string::npos);
    EXPECT_EQ(MX_getNumberOfParts(), 2);
  }
  const LogCapture log(LogLevel::silent);
  EXPECT_EQ(MX_openFile("/no/such/file", 0), -1);
  EXPECT_EQ(MX_getNumberOfParts(), 0) << "no session is left";
}

TEST_F(SessionTest, ThreadCountNeedsNoSessionAndReleaseFillsItsBuffer) {
  EXPECT_EQ(MX_setNumberOfOmpThreads(3), 0);
  EXPECT_EQ(MX_setNumberOfOmpThreads(0), -1);
  EXPECT_EQ(MX_setNumberOfOmpThreads(-1), -1);
  char release[21];
  std::memset(release, 'x', sizeof release);
  EXPECT_EQ(MX_getReaderRelease(release), 0);
  EXPECT_EQ(std::string(release, 20), std::string("7.0.1") + std::string(15, '\0'));
  EXPECT_EQ(release[20], 'x');
}

TEST_F(SessionTest, WorkflowLogRecordsCallsBetweenHeaderAndFooter) {
  const TemporaryPath logPath("workflow.log");
  WorkflowLog log(logPath.string().c_str());
  log.write("before any session\n");
  log.begin("a/file.sdf");
  log.write("[MX_getPartCoordinates] part_number-[%d]\n", 1234567);
  log.end();
  log.write("after the session\n");
  const std::string rule = "#" + std::string(63, '-') + "\n";
  EXPECT_EQ(contentOf(logPath.string()),
            rule + rule + "\n#MORVEX-EnSight-API Workflow\n#Input-File : a/file.sdf\n\n" + rule +
                rule + "\n[MX_getPartCoordinates] part_number-[1234567]\n[MX_exit]\n#" +
                std::string(56, '-') + "\n\n");
  log.begin("b.sdf");  // starts over
  EXPECT_EQ(contentOf(logPath.string()).find("a/file.sdf"), std::string::npos);
  log.end();
}

TEST_F(SessionTest, WorkflowLogThatCanNotBeMadeIsSwitchedOff) {
  const LogCapture messages;
  WorkflowLog log("/no/such/folder/log");
  log.begin("a.sdf");
  log.begin("a.sdf");
  log.write("nothing\n");
  log.end();
  EXPECT_EQ(messages.text(),
            "ERROR: Failed to create file /no/such/folder/logfor MORVEX log output. Benchmarking "
            "data output will be disabled!\n");
  WorkflowLog tooLong(std::string(256, 'x').c_str());
  tooLong.begin("a.sdf");
  EXPECT_NE(messages.text().find("WARNING: MORVEX_WORKFLOW_LOG is longer than 255 bytes"),
            std::string::npos);
}

}  // namespace
}  // namespace morvex

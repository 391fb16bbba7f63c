#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "morvex/morvex_ensg.h"
#include "reader/ensg/workflow_log.hpp"
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

/// What a host passes to be written to, and finds untouched: 77 throughout.
struct Targets {
  int number = 77;
  int* numbers = &number;
  float value = 77;
  short word = 77;
  char letter = 77;
  char* text = &letter;

  template <class T>
  T argument() {
    const auto choices = std::make_tuple(0, &number, &numbers, &value, &word, &text);
    return std::get<T>(choices);
  }
  /// Asks an export for zeros, to be answered with `refusal` and one line.
  template <class... Arguments>
  void expectRefusal(int refusal, int (*question)(Arguments...)) {
    const LogCapture log;
    EXPECT_EQ(question(argument<Arguments>()...), refusal) << log.text();
    EXPECT_EQ(log.text().rfind("ERROR: MX_", 0), 0U) << log.text();
    EXPECT_EQ(log.text().find('\n'), log.text().size() - 1) << log.text();
  }
  template <class... Questions>
  void expectRefusals(int refusal, Questions... questions) {
    (expectRefusal(refusal, questions), ...);
  }
};

TEST_F(SessionTest, QuestionsWithoutAFileAreRefusedWithOneLineAndWriteNothing) {
  Targets targets;
  targets.expectRefusals(
      0, MX_exit, MX_getNumberOfTimesets, MX_getNumberOfTimesteps, MX_hasElementIds, MX_hasNodeIds,
      MX_getNumberOfParts, MX_getDataSizeForNSidedConnectivity, MX_getDataSizeForNFacedNodesPerFace,
      MX_getDataSizeForNFacedConnectivity, MX_hasMeasuredGeometry, MX_getNumberOfMeasuredParticles,
      MX_hasBorderFaces, MX_getNumberOfVariables,
      +[] { return MX_finishedGeometryProcessing(), 0; });
  targets.expectRefusals(
      -1, MX_getGeometryAdaptivityType, MX_getModelGeoTimeset, MX_getMeasuredGeoTimeset,
      MX_getTimestepsValues, MX_getPartInformation, MX_getPartNodeIds, MX_getPartElementIds,
      MX_getBoundingBox, MX_getPartCoordinates, MX_getBlockStructuredCoordinates,
      MX_getBlockIblanking, MX_getElementConnectivity, MX_getNSidedNumberOfNodesPerFace,
      MX_getNSidedConnectivity, MX_getNFacedNumberOfFacesPerElement, MX_getNFacedNodesPerFace,
      MX_getNFacedConnectivity, MX_getBorderFacesConnByType, MX_getMeasuredParticleIds,
      MX_getMeasuredParticleCoordinates, MX_getVariableGeoType, MX_getVariableInformation,
      MX_getVariableByComponent, MX_getConstantValue);
  EXPECT_EQ(targets.number, 77);
  EXPECT_EQ(targets.value, 77.0F);
  EXPECT_EQ(targets.word, 77);
  EXPECT_EQ(targets.letter, 77);
}

TEST_F(SessionTest, WhatIsNoResultFileIsRefusedWithOneFatalLineThatNamesIt) {
  const TemporaryPath foreign("foreign.txt");
  std::ofstream(foreign.string()) << std::string(100, 'x');
  const TemporaryPath empty("empty.sdf");
  std::ofstream(empty.string()).flush();
  for (const std::string& path : {foreign.string(), empty.string(), std::string("/no/such/file"),
                                  std::string("/"), std::string()}) {
    const LogCapture log(LogLevel::kFatal);
    EXPECT_EQ(MX_openFile(path.c_str(), 0), -1);
    const std::string expected =
        "FATAL: MX_openFile: the type of file '" + path + "' is unknown or invalid (";
    EXPECT_EQ(log.text().rfind(expected, 0), 0U) << log.text();
    EXPECT_EQ(log.text().find('\n'), log.text().size() - 1) << log.text();
  }
  const LogCapture log(LogLevel::kSilent);
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
  const LogCapture log(LogLevel::kSilent);
  EXPECT_EQ(MX_openFile("/no/such/file", 0), -1);
  EXPECT_EQ(MX_getNumberOfParts(), 0) << "no session is left";
}

TEST_F(SessionTest, StatusLinesEndWithTheFirstOpening) {
  const LogCapture log(LogLevel::kStatus);
  ASSERT_EQ(open(), 0);
  EXPECT_NE(log.text().find("STATUS: Reading Metadata... done."), std::string::npos);
  const std::size_t first = log.text().size();
  MX_exit();
  ASSERT_EQ(open(), 0);
  EXPECT_EQ(log.text().find("STATUS", first), std::string::npos);
}

TEST_F(SessionTest, ThreadCountNeedsNoSessionAndReleaseFillsItsBuffer) {
  EXPECT_EQ(MX_setNumberOfOmpThreads(3), 0);
  EXPECT_EQ(MX_setNumberOfOmpThreads(0), -1);
  EXPECT_EQ(MX_setNumberOfOmpThreads(-1), -1);
  char release[21];
  std::memset(release, 'x', sizeof release);
  EXPECT_EQ(MX_getReaderRelease(release), 0);
  EXPECT_EQ(std::string(release, 20),
            std::string(MORVEX_VERSION) + std::string(20 - std::strlen(MORVEX_VERSION), '\0'));
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

/// The environment is read when the library is loaded: by this program, run once more.
TEST_F(SessionTest, WorkflowLogIsNamedByTheEnvironment) {
  const TemporaryPath log("environment.log");
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = "MORVEX_WORKFLOW_LOG='" + log.string() + "' '" + program +
                              "' --gtest_filter=*StatusLines* >/dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::string text = contentOf(log.string());
  EXPECT_NE(text.find("#Input-File : "), std::string::npos) << text;
  EXPECT_NE(text.find("[MX_exit]\n"), std::string::npos) << text;
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

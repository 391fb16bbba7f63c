#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/error.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

/// One line at each level.
void logAll() {
  Logger& logger = getLogger();
  logger.deepTrace() << "a" << std::endl;
  logger.trace() << "b" << std::endl;
  logger.notice() << "c" << std::endl;
  logger.debug() << "d" << std::endl;
  logger.status() << "e" << std::endl;
  logger.warning() << "f" << std::endl;
  logger.error() << "g" << std::endl;
  logger.fatal() << "h" << std::endl;
}

TEST(Log, LevelsLetThroughWhatIsAsSevere) {
  const char* const lines[] = {"a\n",         "b\n",          "NOTICE: c\n", "DEBUG: d\n",
                               "STATUS: e\n", "WARNING: f\n", "ERROR: g\n",  "FATAL: h\n"};
  for (int level = 0; level <= 8; ++level) {
    const LogCapture log(static_cast<LogLevel>(level));
    logAll();
    std::string expected;
    for (int k = level; k < 8; ++k) expected += lines[k];
    EXPECT_EQ(log.text(), expected) << levelName(static_cast<LogLevel>(level));
  }
}

TEST(Log, WarningsGoToTheErrorStreamAndTheRestToTheOutput) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  getLogger().setLogLevel(LogLevel::debug);
  logAll();
  getLogger().setLogLevel(LogLevel::status);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "DEBUG: d\nSTATUS: e\n");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "WARNING: f\nERROR: g\nFATAL: h\n");
}

TEST(Log, FileTakesAllLevelsUntilItIsGivenUp) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("log" + std::to_string(::getpid()))).string();
  const LogCapture log(LogLevel::status);
  getLogger().setLogLevel(LogLevel::warning, path.c_str());
  logAll();
  getLogger().setLogLevel(LogLevel::warning);
  getLogger().warning() << "back" << std::endl;
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  EXPECT_EQ(content.str(), "WARNING: f\nERROR: g\nFATAL: h\n");
  EXPECT_EQ(log.text(), "WARNING: back\n");
  std::filesystem::remove(path);

  getLogger().setLogLevel(LogLevel::status, "/nowhere/at/all");
  logAll();
  getLogger().setLogLevel(LogLevel::warning);
  getLogger().warning() << "again" << std::endl;
  EXPECT_EQ(log.text(), "WARNING: back\nWARNING: again\n") << "a lost file silences";
}

TEST(Errors, CoreExceptionsLogThemselvesAndTellTheirCause) {
  const LogCapture log;
  const std::runtime_error cause("deep down");
  const KelborDataException failure("KelborDataException", "text", "file", 7, "function", &cause);
  EXPECT_EQ(log.text(), "ERROR: KelborDataException: text @file:7[function]\n");
  const char* const what = failure.what();
  EXPECT_STREQ(what, "KelborDataException: text @file:7[function]\nCaused by: deep down");
  EXPECT_EQ(failure.what(), what) << "composed once";
}

TEST(Errors, RaisingLogsByFamily) {
  const LogCapture log;
  EXPECT_EQ(messageOf<std::exception>([] { raise<MemoryAllocationException>("m"); }),
            "MemoryAllocationException: m @<file>:-1[<function>]");
  EXPECT_EQ(messageOf<std::length_error>([] { raise<std::length_error>("s"); }), "s");
  try {
    raise<morvex::UsageException>("u");
  } catch (const morvex::Exception& failure) {
    EXPECT_STREQ(failure.getMessage(), "u");
    EXPECT_EQ(std::string(failure.getHelp()).find("An usage error occurred (error code: 3)!"), 0U);
  }
  EXPECT_EQ(log.text(), "ERROR: MemoryAllocationException: m @<file>:-1[<function>]\nERROR: s\n");
}

TEST(Errors, SilentLevelHidesExceptions) {
  const LogCapture log(LogLevel::silent);
  EXPECT_THROW(raise<TypeMismatchException>("t"), Exception);
  EXPECT_EQ(log.text(), "");
}

}  // namespace
}  // namespace Kelbor

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include "core/error.hpp"
#include "fake_procedure.hpp"
#include "support/grouping_host.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

/// One line at each level.
void logAll() {
  Logger& logger = getLogger();
  logger.deepTrace() << "a";
  logger.trace() << "b";
  logger.notice() << "c";
  logger.debug() << "d";
  logger.status() << "e";
  logger.warning() << "f";
  logger.error() << "g";
  logger.fatal() << "h";
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
  getLogger().setLogLevel(LogLevel::kDebug);
  logAll();
  getLogger().setLogLevel(LogLevel::kStatus);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "DEBUG: d\nSTATUS: e\n");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "WARNING: f\nERROR: g\nFATAL: h\n");
}

TEST(Log, FileTakesAllLevelsUntilItIsGivenUp) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("log" + std::to_string(::getpid()))).string();
  const LogCapture log(LogLevel::kStatus);
  getLogger().setLogLevel(LogLevel::kWarning, path.c_str());
  logAll();
  getLogger().setLogLevel(LogLevel::kWarning);
  getLogger().warning() << "back";
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  EXPECT_EQ(content.str(), "WARNING: f\nERROR: g\nFATAL: h\n");
  EXPECT_EQ(log.text(), "WARNING: back\n");
  std::filesystem::remove(path);

  getLogger().setLogLevel(LogLevel::kStatus, "/nowhere/at/all");
  logAll();
  getLogger().setLogLevel(LogLevel::kWarning);
  getLogger().warning() << "again";
  EXPECT_EQ(log.text(), "WARNING: back\nWARNING: again\n") << "a lost file silences";
}

TEST(Log, NumbersFollowNoLocaleAndRealOnesHaveSixDigits) {
  const auto logged = [](auto number) {
    const morvex::GroupingHost host;
    const LogCapture log;
    getLogger().warning() << number;
    return log.text();
  };
  EXPECT_EQ(logged(-1234567), "WARNING: -1234567\n");
  EXPECT_EQ(logged(~std::uint64_t{0}), "WARNING: 18446744073709551615\n");
  EXPECT_EQ(logged(std::numeric_limits<std::int64_t>::min()), "WARNING: -9223372036854775808\n");
  for (const double number :
       {0.0, -0.0, 1.0, 0.1, 1234567.0, 123456.5, 1e-5, 0.0001, 2.5e300, -1.0 / 3,
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity()}) {
    std::ostringstream stream;
    stream << "WARNING: " << number << "\n";
    EXPECT_EQ(logged(number), stream.str());
  }
}

TEST(Log, LinesOfAnyLengthStayWholeAmongThreads) {
  constexpr int kThreads = 4;
  constexpr int kLines = 50;
  std::map<std::string, int> expected;
  const LogCapture log;
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      const std::string text(static_cast<std::size_t>(1 + 700 * t), static_cast<char>('a' + t));
      expected["WARNING: " + text + "#" + std::to_string(t)] = kLines;
      threads.emplace_back([text, t] {
        for (int i = 0; i < kLines; ++i) getLogger().warning() << text << "#" << t;
      });
    }
  }
  std::map<std::string, int> found;
  std::istringstream lines(log.text());
  for (std::string line; std::getline(lines, line);) ++found[line];
  EXPECT_EQ(found, expected);
}

TEST(Log, StreamsOfTheHostMayThrowAndMayBeMissing) {
  struct FullDisk : std::streambuf {
    std::streamsize xsputn(const char*, std::streamsize) override { throw std::bad_alloc(); }
    int sync() override { throw std::bad_alloc(); }
  };
  FullDisk disk;
  std::streambuf* const before = std::cerr.rdbuf(&disk);
  getLogger().error() << "lost";
  std::cerr.rdbuf(nullptr);
  getLogger().error() << "lost";
  std::ostringstream text;
  std::cerr.rdbuf(text.rdbuf());
  getLogger().error() << "found";
  std::cerr.rdbuf(before);
  EXPECT_EQ(text.str(), "ERROR: found\n");
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
  EXPECT_EQ(log.text(), "ERROR: MemoryAllocationException: m @<file>:-1[<function>]\nERROR: s\n");
}

}  // namespace
}  // namespace Kelbor

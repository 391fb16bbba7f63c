#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "morvex/morvex_ensg.h"
#include "support/curious_host.hpp"
#include "support/grouping_host.hpp"
#include "support/log_capture.hpp"
#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"
#include "writer/crash_box.hpp"

namespace morvex {
namespace {

/// A file that uses every way of storing, in chunks enough for the largest team; and what one
/// thread reads from it.
class HostTest : public testing::Test {
 protected:
  HostTest() {
    Writer::CrashBox({.nodes = 1000, .steps = 2, .tableChunks = 64}).file().write(path_.string());
    MX_setNumberOfOmpThreads(1);
    expected_ = ask();
  }

  [[nodiscard]] Inquiry ask() const { return askEverything(path_.string()); }

  Kelbor::LogCapture log_{Kelbor::LogLevel::kSilent};
  TemporaryPath path_{"host.sdf"};
  Inquiry expected_;
};

// Runs once more for each setting of the parallel runtime, see CMakeLists.txt.
TEST_F(HostTest, AnyNumberOfThreadsReadsTheSameBits) {
  ASSERT_TRUE(expected_.opened);
  EXPECT_GT(expected_.answers, 100U);
  for (const int threads : {2, 3, 8, 64, 3, 1}) {
    MX_setNumberOfOmpThreads(threads);
    EXPECT_EQ(ask().digest, expected_.digest) << threads << " threads";
  }
}

TEST_F(HostTest, ChildForkedAfterAParallelReadReadsTheSame) {
  MX_setNumberOfOmpThreads(4);
  ASSERT_EQ(MX_openFile(path_.string().c_str(), 0), 0);
  EXPECT_EQ(ask().digest, expected_.digest);
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(60);  // rather than to wait for threads that are not there
    ::_exit(ask().digest == expected_.digest ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(ask().digest, expected_.digest) << "the parent goes on";
}

TEST_F(HostTest, ReadsFromWithinAParallelRegionOfTheHost) {
  MX_setNumberOfOmpThreads(4);
  std::uint64_t digest = 0;
#pragma omp parallel num_threads(3)
  {
#pragma omp single
    digest = ask().digest;
  }
  EXPECT_EQ(digest, expected_.digest);
  EXPECT_EQ(ask().digest, expected_.digest);
}

std::size_t openDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

TEST(Hosts, TwoFilesInTurnLeaveNeitherDescriptorsNorMemoryBehind) {
  constexpr int kRounds = 300;
  constexpr int kWarmUp = 20;
  constexpr std::size_t kMostGrowth = 128 * 1024;
  constexpr Curiosity kLittle{.mostSteps = 2};
  const Kelbor::LogCapture log(Kelbor::LogLevel::kSilent);
  const TemporaryPath paths[] = {TemporaryPath("one.sdf"), TemporaryPath("two.sdf")};
  std::uint64_t digests[2]{};
  for (std::size_t i = 0; i < 2; ++i) {
    Writer::ResultFileBuilder file;
    describeSmallFile(file);
    file.tableChunks(1 + 3 * i);
    if (i == 1) file.variable("of the second file", Writer::Location::kPerNode).constant({7});
    file.write(paths[i].string());
    digests[i] = askEverything(paths[i].string(), kLittle).digest;
  }
  EXPECT_NE(digests[0], digests[1]);
  MX_setNumberOfOmpThreads(3);
  std::size_t descriptors = 0;
  std::size_t memory = 0;
  for (int round = 0; round < kRounds; ++round) {
    if (round == kWarmUp) {
      descriptors = openDescriptors();
      memory = ::mallinfo2().uordblks;
    }
    for (std::size_t i = 0; i < 2; ++i) {
      ASSERT_EQ(askEverything(paths[i].string(), kLittle).digest, digests[i]) << round;
    }
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_LE(::mallinfo2().uordblks, memory + kMostGrowth);
}

/// What a host learns from a file with four-digit steps and parts: numbers, lines and the text of
/// a failure.
constexpr int kPart = 1001;
std::string whatIsTold(const std::string& path) {
  const Kelbor::LogCapture log(Kelbor::LogLevel::kDeepTrace);
  std::string told;
  EXPECT_EQ(MX_openFile(path.c_str(), 0), 0);
  for (const int step : {999, 1000, 1002}) {
    float value = 0;
    EXPECT_EQ(MX_getVariableByComponent(step, 0, 0, kPart, 1, 0, 0, 0, &value), 0);
    EXPECT_EQ(value, static_cast<float>(step));
  }
  int node = 0;
  try {
    MX_getElementConnectivity(0, kPart, 0, &node);
    ADD_FAILURE() << "elements that the file does not have were read";
  } catch (const std::exception& failure) {
    told = failure.what();
  }
  MX_exit();
  return told + "\n" + log.text();
}

TEST(Hosts, LocaleOfTheHostChangesNoNumberAndNoText) {
  constexpr int kSteps = 1003;
  Writer::ResultFileBuilder file;
  const std::uint32_t steps = file.timeSet(std::vector<float>(kSteps));
  file.timeBlocks(4);
  for (int part = 0; part <= kPart; ++part) file.part("p").nodes({1.5F}, {1234.5F}, {0.0F});
  auto& variable = file.variable("v", Writer::Location::kPerNode);
  variable.onTimeSet(steps).quantised(Writer::Quantisation::uniform(0.5)).timeDifferences();
  for (int step = 0; step < kSteps; ++step) {
    variable.set({.step = step, .part = kPart}, {static_cast<float>(step)});
  }
  const TemporaryPath path("locale.sdf");
  file.write(path.string());
  const std::string plain = whatIsTold(path.string());
  EXPECT_NE(plain.find("/1001/"), std::string::npos) << plain;
  const GroupingHost host;
  EXPECT_EQ(whatIsTold(path.string()), plain);
}

}  // namespace
}  // namespace morvex

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "morvex/morvex.hpp"
#include "written_file.hpp"

namespace morvex {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 20;

/// The last step of the series that is stored in differences, and the coordinates at a step.
std::vector<float> someValues(const File& file, int round) {
  std::vector<float> values = file.values(file.findVariable("series"), round % 5);
  const std::vector<float> xyz = file.coordinates(0, round % 5);
  values.insert(values.end(), xyz.begin(), xyz.end());
  return values;
}

/// Runs `body` with the number of each thread and returns how many of its calls were false.
template <class Body>
int failuresOf(const Body& body) {
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) failures += body(t, round) ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) thread.join();
  return failures;
}

class ManyThreads : public testing::Test {
 protected:
  ManyThreads() {
    const File file(written_.path());
    for (int step = 0; step < 5; ++step) wanted_.push_back(someValues(file, step));
  }
  [[nodiscard]] bool isRight(const File& file, int round) const {
    return someValues(file, round) == wanted_[static_cast<std::size_t>(round % 5)];
  }

  WrittenFile written_{describeSmallFile};
  std::vector<std::vector<float>> wanted_;
};

TEST_F(ManyThreads, ReadOneFile) {
  const File file(written_.path());
  EXPECT_EQ(failuresOf([&](int thread, int round) { return isRight(file, thread + round); }), 0);
}

TEST_F(ManyThreads, ReadFilesOfTheirOwnThatOpenAndClose) {
  EXPECT_EQ(failuresOf([&](int thread, int round) {
              const File file(written_.path(), 1 + thread % 3);
              return isRight(file, thread + round);
            }),
            0);
}

TEST_F(ManyThreads, CloseAFileAfterThoseWhoReadIt) {
  morvex_file* file = nullptr;
  ASSERT_EQ(morvex_open(written_.path().c_str(), nullptr, &file), MORVEX_OK);
  std::atomic<int> closed{0};
  EXPECT_EQ(failuresOf([&](int thread, int round) {
              if (thread == 0 && round == kRounds / 2) return morvex_close(file) == MORVEX_OK;
              std::vector<float> values(18);
              morvex_request of = request(MORVEX_COORDINATES, round % 5);
              of.target = values.data();
              of.capacity = values.size();
              const morvex_code code = morvex_read(file, &of, 1, nullptr);
              closed += code == MORVEX_BAD_HANDLE ? 1 : 0;
              return code == MORVEX_OK || code == MORVEX_BAD_HANDLE;
            }),
            0);
  EXPECT_EQ(morvex_close(file), MORVEX_BAD_HANDLE);
}

TEST_F(ManyThreads, HaveAChildThatReadsOn) {
  const File file(written_.path());
  EXPECT_TRUE(isRight(file, 1));
  const pid_t child = ::fork();
  if (child == 0) ::_exit(isRight(file, 2) ? 0 : 1);
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(isRight(file, 3));
}

TEST_F(ManyThreads, NeedNoMoreDescriptorsThanThereAre) {
  EXPECT_TRUE(
      isRight(File(written_.path()), 0));  // a sanitizer takes descriptors at the first call
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  rlimit few = before;
  few.rlim_cur = 64;
  ::setrlimit(RLIMIT_NOFILE, &few);
  constexpr std::size_t kFiles = 1000;
  std::vector<std::unique_ptr<File>> files;
  for (std::size_t i = 0; i < kFiles; ++i) {
    files.push_back(std::make_unique<File>(written_.path(), 1));
  }
  int wrong = 0;
  for (std::size_t i = 0; i < kFiles; ++i) {
    wrong += isRight(*files[i], static_cast<int>(i)) ? 0 : 1;
  }
  files.clear();
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace morvex

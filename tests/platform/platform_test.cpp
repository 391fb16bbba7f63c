#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/critical_section.hpp"
#include "platform/file_stream.hpp"
#include "platform/idle_pool.hpp"
#include "platform/system_info.hpp"
#include "platform/thread_count.hpp"
#include "platform/thread_probe.hpp"

namespace Kelbor::Platform {
namespace {

/// Runs each test with its own answer of the environment and no kept count.
class ThreadCount : public ::testing::Test {
 protected:
  ThreadCount() {
    if (const char* value = std::getenv("OMP_NUM_THREADS")) before_ = value;
    wish(nullptr);
  }
  ~ThreadCount() override { wish(before_ ? before_->c_str() : nullptr); }

  static void wish(const char* value) {
    if (value) {
      ::setenv("OMP_NUM_THREADS", value, 1);
    } else {
      ::unsetenv("OMP_NUM_THREADS");
    }
    Detail::forgetThreadCount();
  }

 private:
  std::optional<std::string> before_;
};

TEST_F(ThreadCount, EnvironmentIsAskedOnceAndOnlyForPositiveCounts) {
  wish("7");
  EXPECT_EQ(threadCount(), 7);
  ::setenv("OMP_NUM_THREADS", "9", 1);
  EXPECT_EQ(threadCount(), 7) << "the first answer is kept";
  const int without = Detail::threadsForProcessors(processorCount());
  for (const char* value : {"0", "-3", "many", ""}) {
    wish(value);
    EXPECT_EQ(threadCount(), without) << value;
  }
  wish(" 3,2");
  EXPECT_EQ(threadCount(), 3) << "read as a number with a tail";
}

TEST_F(ThreadCount, SettingWinsOverTheEnvironmentAndIgnoresOtherThanPositive) {
  wish("7");
  setThreadCount(2);
  EXPECT_EQ(threadCount(), 2);
  setThreadCount(0);
  setThreadCount(-1);
  EXPECT_EQ(threadCount(), 2);
}

TEST_F(ThreadCount, TwoProcessorsAreLeftToOthersFromFourOn) {
  constexpr std::array<int, 6> kExpected{1, 1, 1, 2, 3, 4};
  for (int processors = 1; processors <= 6; ++processors) {
    EXPECT_EQ(Detail::threadsForProcessors(processors),
              kExpected[static_cast<std::size_t>(processors) - 1]);
  }
}

TEST(SystemInfo, MachineHasMemoryProcessorsAndThreads) {
  EXPECT_GT(totalPhysicalMemory(), std::uint64_t{1} << 27);
  EXPECT_GE(processorCount(), 1);
  EXPECT_EQ(startableThreads(0), 0U);
  EXPECT_EQ(startableThreads(5), 5U);
  EXPECT_TRUE(hasMemory(1000));
}

TEST(FileStreamTest, ShortReadsAreToldAndWhatIsNoFileDoesNotOpen) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("stream" + std::to_string(::getpid()))).string();
  const std::array<std::byte, 5> content{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4},
                                         std::byte{5}};
  {
    FileStream writer = FileStream::open(path, "wb");
    ASSERT_TRUE(writer.isOpen());
    EXPECT_TRUE(writer.write(content));
    EXPECT_TRUE(writer.close());
    EXPECT_FALSE(writer.isOpen());
    EXPECT_TRUE(writer.close());
  }
  FileStream reader = FileStream::open(path, "rb");
  EXPECT_EQ(reader.size(), 5U);
  std::array<std::byte, 4> block{};
  EXPECT_TRUE(reader.seek(2));
  EXPECT_EQ(reader.read(block), 3U);
  EXPECT_EQ(block[2], std::byte{5});
  EXPECT_EQ(reader.read(block), 0U);
  EXPECT_FALSE(reader.seek(~std::uint64_t{0})) << "no negative position";
  EXPECT_FALSE(reader.write(content) && reader.close()) << "the stream is for reading";
  std::filesystem::remove(path);
  EXPECT_FALSE(FileStream::open(path, "rb").isOpen());
  EXPECT_FALSE(FileStream::open(std::filesystem::temp_directory_path().string(), "rb").isOpen());
}

/// Counts those that exist.
struct Counted {
  Counted() { ++alive; }
  ~Counted() { --alive; }
  static inline int alive = 0;
};
void endCounted(Counted* object) {
  delete object;
}

TEST(IdlePool, KeepsWhatItHasRoomForAndFreesItWithItsOwner) {
  using Pool = IdlePool<Counted, endCounted>;
  static constinit Pool pool;
  {
    const Pool::Owner owner(pool);
    EXPECT_EQ(pool.take(), nullptr);
    auto* const first = new Counted;
    pool.giveBack(first);
    EXPECT_EQ(pool.take(), first);
    pool.giveBack(first);
    for (int i = 0; i < 40; ++i) pool.giveBack(new Counted);
    EXPECT_GT(Counted::alive, 1);
    EXPECT_LT(Counted::alive, 40);
  }
  EXPECT_EQ(Counted::alive, 0);
  EXPECT_EQ(pool.take(), nullptr);
}

}  // namespace
}  // namespace Kelbor::Platform

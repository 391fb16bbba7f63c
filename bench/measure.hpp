#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace morvex::Bench {

/// What a row's time is: that of the processor, all threads of the process together, or that of
/// the clock on the wall.
enum class Clock { processor, wall };

/// A directory for files that goes with the object.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  [[nodiscard]] std::string path(const std::string& name) const { return directory_ / name; }

 private:
  std::filesystem::path directory_;
};

/// Most memory that a call had at once beyond what the process held before, in bytes; -1 where the
/// system doesn't tell. Memory that was touched before doesn't count, such as the arrays read into.
[[nodiscard]] std::int64_t peakMemoryOf(const std::function<void()>& call);

/// One line of a table. `run` is told the number of the round.
struct Row {
  std::string name;
  std::function<void(int)> run;
  std::uint64_t storedBytes = 0;
  std::vector<double> seconds{};
  std::int64_t peakMemory = 0;
};

/// Runs all rows once for their memory, which also warms up, then round by round.
void measure(std::vector<Row>& rows, int rounds, Clock clock = Clock::processor);

/// Median times, and how often the first row fits into each other one: the median over the rounds
/// with the middle half of them. `values` of a row's run give the speed in million values a second.
void printTable(const std::string& title, const std::vector<Row>& rows, std::uint64_t values);

/// Median over the rounds of a's time by b's.
[[nodiscard]] double medianRatio(const Row& a, const Row& b);

/// Processor, compiler, libraries.
[[nodiscard]] std::string machine();

}  // namespace morvex::Bench

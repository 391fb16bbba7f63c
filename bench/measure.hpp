#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace morvex::Bench {

/// The time of a row: processor time of all threads of the process, or wall time.
enum class Clock { kProcessor, kWall };

/// A temporary directory, deleted with the object.
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

/// The most memory that a call needed beyond what the process held before, in bytes; -1 if the
/// system doesn't report it. Memory touched before, such as the arrays read into, doesn't count.
[[nodiscard]] std::int64_t peakMemoryOf(const std::function<void()>& call);

/// One line of a table. `run` receives the number of the round.
struct Row {
  std::string name;
  std::function<void(int)> run;
  std::uint64_t storedBytes = 0;
  std::vector<double> seconds{};
  std::int64_t peakMemory = 0;
};

/// Runs each row once for its memory and to warm up, then measures round by round.
void measure(std::vector<Row>& rows, int rounds, Clock clock = Clock::kProcessor);

/// Prints median times, and each row's ratio to the first one: the median over the rounds and their
/// middle half. `values` of a row's run give the speed in million values per second.
void printTable(const std::string& title, const std::vector<Row>& rows, std::uint64_t values);

/// Median over the rounds of a's time divided by b's.
[[nodiscard]] double medianRatio(const Row& a, const Row& b);

/// Prints processor, compiler and libraries.
[[nodiscard]] std::string machine();

}  // namespace morvex::Bench

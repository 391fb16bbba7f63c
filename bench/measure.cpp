#include "measure.hpp"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace morvex::Bench {
namespace {

/// The number of bytes in a line of /proc/self/status that is given in kB; -1 if there is none.
std::int64_t statusOf(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) return std::stoll(line.substr(key.size())) * 1024;
  }
  return -1;
}

double quantile(std::vector<double> values, double q) {
  if (values.empty()) return 0.0;
  std::ranges::sort(values);
  const double at = q * static_cast<double>(values.size() - 1);
  const auto low = static_cast<std::size_t>(at);
  const std::size_t high = std::min(low + 1, values.size() - 1);
  return values[low] + (at - static_cast<double>(low)) * (values[high] - values[low]);
}

std::vector<double> ratios(const Row& a, const Row& b) {
  std::vector<double> result;
  for (std::size_t i = 0; i < std::min(a.seconds.size(), b.seconds.size()); ++i) {
    result.push_back(a.seconds[i] / b.seconds[i]);
  }
  return result;
}

double secondsOf(Clock clock) {
  timespec now{};
  ::clock_gettime(clock == Clock::kWall ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

}  // namespace

ScratchDirectory::ScratchDirectory()
    : directory_(std::filesystem::temp_directory_path() /
                 ("morvex-bench-" + std::to_string(::getpid()))) {
  std::filesystem::create_directories(directory_);
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

std::int64_t peakMemoryOf(const std::function<void()>& call) {
  ::malloc_trim(0);
  std::ofstream reset("/proc/self/clear_refs");
  reset << "5" << std::flush;  // resets the peak to the current size
  const bool isReset = reset.good();
  const std::int64_t before = statusOf("VmRSS:");
  call();
  const std::int64_t peak = statusOf("VmHWM:");
  return isReset && before >= 0 && peak >= 0 ? std::max<std::int64_t>(peak - before, 0) : -1;
}

void measure(std::vector<Row>& rows, int rounds, Clock clock) {
  for (Row& row : rows) row.peakMemory = peakMemoryOf([&] { row.run(-1); });
  for (int round = 0; round < rounds; ++round) {
    for (Row& row : rows) {
      const double start = secondsOf(clock);
      row.run(round);
      row.seconds.push_back(secondsOf(clock) - start);
    }
  }
}

double medianRatio(const Row& a, const Row& b) {
  return quantile(ratios(a, b), 0.5);
}

void printTable(const std::string& title, const std::vector<Row>& rows, std::uint64_t values) {
  std::cout << "\n" << title << "\n" << std::left << std::setw(38) << "" << std::right;
  for (const char* head :
       {"ms", "Mvalues/s", "stored MB", "peak MB", "x of first", "half within"}) {
    std::cout << std::setw(head[0] == 'h' ? 16 : 11) << head;
  }
  std::cout << "\n" << std::fixed;
  for (const Row& row : rows) {
    const double seconds = quantile(row.seconds, 0.5);
    const auto times = ratios(row, rows.front());
    std::ostringstream spread;
    spread << std::fixed << std::setprecision(2) << quantile(times, 0.25) << " to "
           << quantile(times, 0.75);
    std::cout << std::left << std::setw(38) << row.name << std::right << std::setprecision(2)
              << std::setw(11) << seconds * 1e3 << std::setprecision(1) << std::setw(11)
              << (values == 0 ? 0.0 : 1e-6 * static_cast<double>(values) / seconds) << std::setw(11)
              << 1e-6 * static_cast<double>(row.storedBytes) << std::setw(11)
              << 1e-6 * static_cast<double>(row.peakMemory) << std::setprecision(2) << std::setw(11)
              << quantile(times, 0.5) << std::setw(16) << spread.str() << "\n";
  }
  std::cout << std::flush;
}

std::string machine() {
  std::ostringstream text;
  std::ifstream cpu("/proc/cpuinfo");
  for (std::string line; std::getline(cpu, line);) {
    if (!line.starts_with("model name")) continue;
    text << line.substr(line.find(':') + 2);
    break;
  }
  text << ", " << ::sysconf(_SC_NPROCESSORS_ONLN) << " processors, "
       << (::sysconf(_SC_PHYS_PAGES) * (::sysconf(_SC_PAGESIZE) / 1024) + (1L << 19)) / (1L << 20)
       << " GiB; compiler " << __VERSION__;
  return text.str();
}

}  // namespace morvex::Bench

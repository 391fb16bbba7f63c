#include "procedures/team.hpp"

#include <omp.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

#include "platform/thread_probe.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::size_t kLargestTeam = 256;

/// What the runtime takes from the heap for a team, by and large, and for each thread of it.
constexpr std::size_t kTeamBytes = 65536;
constexpr std::size_t kThreadBytes = 4096;

/// The process whose threads the runtime has started; they don't survive a fork.
std::atomic<pid_t> processOfTeam{0};

/// Threads of the last team: the runtime keeps these for the next one, and starts what lacks.
std::atomic<std::size_t> lastTeam{1};

bool mayFork() {
  if (omp_in_parallel()) return false;
  const pid_t owner = processOfTeam;
  return owner == 0 || owner == ::getpid();
}

/// The largest team up to `size` that the system has threads and memory for. The runtime ends the
/// whole process where it is refused either.
std::size_t affordableTeam(std::size_t size) {
  if (size > lastTeam) size = 1 + Platform::startableThreads(size - 1);
  return Platform::hasMemory(kTeamBytes + size * kThreadBytes) ? size : 1;
}

std::size_t teamSize(std::size_t count, int threads) {
  const std::size_t budget = threads > 1 ? static_cast<std::size_t>(threads) : 1;
  const auto limit = static_cast<std::size_t>(std::max(omp_get_thread_limit(), 1));
  const std::size_t size = std::min({budget, count, limit, kLargestTeam});
  return size < 2 || !mayFork() ? 1 : affordableTeam(size);
}

}  // namespace

void runTeam(std::size_t count, int threads, const std::function<void(std::size_t)>& work) {
  const std::size_t size = teamSize(count, threads);
  if (size < 2) {
    for (std::size_t i = 0; i < count; ++i) work(i);
    return;
  }
  processOfTeam = ::getpid();
  const auto end = static_cast<std::ptrdiff_t>(count);
#pragma omp parallel num_threads(static_cast <int>(size))
  {
    if (omp_get_thread_num() == 0) lastTeam = static_cast<std::size_t>(omp_get_num_threads());
#pragma omp for schedule(static)
    for (std::ptrdiff_t i = 0; i < end; ++i) work(static_cast<std::size_t>(i));
  }
}

}  // namespace Kelbor::MathModule

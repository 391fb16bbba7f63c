#include "procedures/team.hpp"

#include <omp.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace Kelbor::MathModule {
namespace {

constexpr std::size_t kLargestTeam = 256;

/// The process whose threads the runtime has started; they don't survive a fork.
std::atomic<pid_t> processOfTeam{0};

bool mayFork() {
  if (omp_in_parallel()) return false;
  const pid_t owner = processOfTeam;
  return owner == 0 || owner == ::getpid();
}

}  // namespace

void runTeam(std::size_t count, int threads, const std::function<void(std::size_t)>& work) {
  const std::size_t budget = threads > 1 ? static_cast<std::size_t>(threads) : 1;
  const std::size_t size = std::min({budget, count, kLargestTeam});
  if (size < 2 || !mayFork()) {
    for (std::size_t i = 0; i < count; ++i) work(i);
    return;
  }
  processOfTeam = ::getpid();
  const auto end = static_cast<std::ptrdiff_t>(count);
#pragma omp parallel for schedule(static) num_threads(static_cast <int>(size))
  for (std::ptrdiff_t i = 0; i < end; ++i) work(static_cast<std::size_t>(i));
}

}  // namespace Kelbor::MathModule

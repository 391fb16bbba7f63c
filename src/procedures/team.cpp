#include "procedures/team.hpp"

#include <unistd.h>

#include <algorithm>
#include <atomic>

#include "core/log.hpp"
#include "platform/thread_probe.hpp"
#include "procedures/arena.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::size_t kLargestTeam = 256;

/// Upper estimates of what the runtime allocates for a team and for each of its threads.
constexpr std::size_t kTeamBytes = 65536;
constexpr std::size_t kThreadBytes = 4096;

/// The process that the runtime's threads belong to. A forked child has none of them.
std::atomic<pid_t> processOfTeam{0};

/// The largest team so far. The runtime keeps its threads and starts only those that a larger team
/// adds.
std::atomic<std::size_t> largestTeam{1};

/// Calls handed over to the runtime. The runtime orders what the caller wrote before what its threads
/// read; so does this counter, for the thread sanitizer, which sees nothing of the runtime.
std::atomic<std::size_t> handedOver{0};

bool hasForked() {
  const pid_t owner = processOfTeam;
  return owner != 0 && owner != ::getpid();
}

/// The largest team up to `size` that the system has threads and memory for. Must be found before
/// the team starts: the runtime ends the process if it is refused a thread.
std::size_t affordableTeam(std::size_t size) {
  if (size > largestTeam) {
    size = std::max<std::size_t>(largestTeam, 1 + Platform::startableThreads(size - 1));
  }
  return Platform::hasMemory(kTeamBytes + size * kThreadBytes) ? size : 1;
}

std::size_t teamSize(std::size_t count, int threads) {
  const std::size_t budget = threads > 1 ? static_cast<std::size_t>(threads) : 1;
  // The runtime has no more threads, and warns on standard error about requests for more.
  const std::size_t size = std::min({budget, count, arenaThreads(), kLargestTeam});
  return size < 2 || hasForked() ? 1 : affordableTeam(size);
}

/// The indices of a call; each is taken once, by the first thread that asks.
class Indices {
 public:
  Indices(std::size_t count, const std::function<void(std::size_t)>& work)
      : count_(count), work_(work), sink_(threadLogSink()) {}

  /// Works until no index is left.
  void work() {
    std::size_t index = next_.fetch_add(1, std::memory_order_acq_rel);
    {
      const ScopedLogSink lines(sink_);
      for (; index < count_; index = next_.fetch_add(1, std::memory_order_acq_rel)) work_(index);
    }
    finished_.fetch_add(1, std::memory_order_release);
  }

  /// Orders what the threads wrote before what the caller reads, as the runtime does.
  void join() const { (void)finished_.load(std::memory_order_acquire); }

 private:
  std::size_t count_;
  const std::function<void(std::size_t)>& work_;
  LogSink* sink_;
  std::atomic<std::size_t> next_{0};
  std::atomic<std::size_t> finished_{0};
};

}  // namespace

void runTeam(std::size_t count, int threads, const std::function<void(std::size_t)>& work) {
  const std::size_t size = teamSize(count, threads);
  Indices indices(count, work);
  if (size > 1) {
    processOfTeam = ::getpid();
    handedOver.fetch_add(1, std::memory_order_release);
    runInArena(
        size,
        [](void* shared) {
          (void)handedOver.load(std::memory_order_acquire);
          static_cast<Indices*>(shared)->work();
        },
        &indices);
    std::size_t known = largestTeam;
    while (known < size && !largestTeam.compare_exchange_weak(known, size)) {
    }
  }
  indices.work();
  indices.join();
}

}  // namespace Kelbor::MathModule

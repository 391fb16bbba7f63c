#include "platform/thread_probe.hpp"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <thread>
#include <vector>

namespace Kelbor::Platform {
namespace {

/// A thread that waits for the signal to end.
struct Probe {
  std::atomic<pid_t> id{0};
  std::thread thread;
};

/// Waits until the system has released an ended thread, which counts towards its limits until then.
void waitUntilForgotten(pid_t process, pid_t thread) noexcept {
  constexpr int kMostLooks = 10000;
  constexpr int kNoSignal = 0;
  for (int look = 0; look < kMostLooks; ++look) {
    if (::syscall(SYS_tgkill, process, thread, kNoSignal) != 0) return;
    std::this_thread::yield();
  }
}

}  // namespace

std::size_t startableThreads(std::size_t wanted) noexcept {
  std::size_t started = 0;
  try {
    std::vector<Probe> probes(wanted);
    std::atomic<bool> over{false};
    try {
      for (Probe& probe : probes) {
        probe.thread = std::thread([&] {
          probe.id = ::gettid();
          over.wait(false);
        });
        ++started;
      }
    } catch (const std::exception&) {  // refused: those started so far are the answer
    }
    over = true;
    over.notify_all();
    for (std::size_t i = 0; i < started; ++i) probes[i].thread.join();
    for (std::size_t i = 0; i < started; ++i) waitUntilForgotten(::getpid(), probes[i].id);
  } catch (const std::exception&) {  // no memory for the trial
  }
  return started;
}

bool hasMemory(std::size_t size) noexcept {
  void* volatile block = std::malloc(size);  // volatile: else compilers drop the pair
  std::free(block);
  return block != nullptr;
}

}  // namespace Kelbor::Platform

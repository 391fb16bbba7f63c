#include "platform/thread_count.hpp"

#include <atomic>
#include <cstdlib>

#include "platform/system_info.hpp"

namespace Kelbor::Platform {
namespace {

std::atomic<int> cachedThreads{0};
std::atomic<int> cachedCpuCount{0};

}  // namespace

int threadCount() {
  if (const int known = cachedThreads.load()) return known;
  if (const char* wish = std::getenv("OMP_NUM_THREADS")) {
    if (const int threads = std::atoi(wish); threads > 0) {
      cachedThreads = threads;
      return threads;
    }
  }
  if (cachedCpuCount == 0) cachedCpuCount = processorCount();
  const int threads = Detail::threadsForProcessors(cachedCpuCount);
  cachedThreads = threads;
  return threads;
}

void setThreadCount(int threads) {
  if (threads > 0) cachedThreads = threads;
}

void Detail::forgetThreadCount() {
  cachedThreads = 0;
  cachedCpuCount = 0;
}

}  // namespace Kelbor::Platform

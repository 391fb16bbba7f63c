#include "platform/system_info.hpp"

#include <unistd.h>

#include <thread>

namespace Kelbor::Platform {

std::uint64_t totalPhysicalMemory() noexcept {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long pageSize = ::sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return 0;
  return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
}

int processorCount() noexcept {
  const unsigned count = std::thread::hardware_concurrency();
  return count < 2 ? 1 : static_cast<int>(count);
}

}  // namespace Kelbor::Platform

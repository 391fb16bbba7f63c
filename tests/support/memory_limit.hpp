#pragma once

#include <sys/resource.h>

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>

namespace morvex {

// Shadow memory knows no measure. clang tells of its sanitizers in another way than g++.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kLimitsMemory = false;
#elif defined(__clang__)
inline constexpr bool kLimitsMemory =
    !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
inline constexpr bool kLimitsMemory = true;
#endif

/// Lets every allocation fail that would take the process more than so many bytes above what it
/// holds when the limit begins.
class MemoryLimit {
 public:
  explicit MemoryLimit(std::uint64_t bytes) {
    ::getrlimit(RLIMIT_DATA, &before_);
    if (!kLimitsMemory) return;
    rlimit limit = before_;
    limit.rlim_cur = dataInUse() + bytes;
    if (::setrlimit(RLIMIT_DATA, &limit) != 0) throw std::runtime_error("setrlimit");
  }
  ~MemoryLimit() { ::setrlimit(RLIMIT_DATA, &before_); }
  MemoryLimit(const MemoryLimit&) = delete;
  MemoryLimit& operator=(const MemoryLimit&) = delete;

 private:
  static std::uint64_t dataInUse() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
      std::uint64_t kilobytes = 0;
      if (word == "VmData:" && status >> kilobytes) return kilobytes << 10;
    }
    throw std::runtime_error("no VmData");
  }

  rlimit before_{};
};

}  // namespace morvex

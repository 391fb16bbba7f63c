#pragma once

#include <mutex>

namespace Kelbor::Platform {

/// A recursive lock that spins before it sleeps: what it guards usually takes a few hundred
/// nanoseconds, less than going to sleep. Meets the standard's Lockable requirements.
class CriticalSection {
 public:
  void lock();
  bool try_lock() { return mutex_.try_lock(); }
  void unlock() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

}  // namespace Kelbor::Platform

#pragma once

#include <mutex>

namespace Kelbor::Platform {

/// A lock that the same thread may enter again and that spins before it sleeps, since what it
/// guards is usually over in a few hundred nanoseconds. Meets the standard's Lockable rules.
class CriticalSection {
 public:
  void lock();
  bool try_lock() { return mutex_.try_lock(); }
  void unlock() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

}  // namespace Kelbor::Platform

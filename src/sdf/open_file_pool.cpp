#include "sdf/open_file_pool.hpp"

#include <mutex>

#include "platform/immortal.hpp"
#include "sdf/hierarchical_file.hpp"

namespace Kelbor::MathModule {

void HierarchicalFilePool::add(HierarchicalFileInterface& file) {
  // Taken while the victim is still in the list, so that it can neither be used nor die before it
  // is closed. It is only tried: the caller holds the lock of its own file.
  tbb::spin_rw_mutex::scoped_lock victimLock;
  HierarchicalFileInterface* victim = nullptr;
  {
    const std::lock_guard guard(lock_);
    files_.remove(&file);
    files_.push_back(&file);
    if (files_.size() <= kMaxOpenFiles) return;
    for (auto candidate = files_.begin(); *candidate != &file; ++candidate) {
      if (!victimLock.try_acquire((*candidate)->lock_, /*write=*/true)) continue;
      victim = *candidate;
      files_.erase(candidate);
      break;
    }
  }
  if (victim) victim->closeIfOpen(/*unregister=*/false);
}

void HierarchicalFilePool::remove(HierarchicalFileInterface& file) {
  const std::lock_guard guard(lock_);
  files_.remove(&file);
}

std::size_t HierarchicalFilePool::size() {
  const std::lock_guard guard(lock_);
  return files_.size();
}

HierarchicalFilePool& getOpenFilePool() {
  static Platform::Immortal<HierarchicalFilePool> pool;
  return pool.get();
}

}  // namespace Kelbor::MathModule

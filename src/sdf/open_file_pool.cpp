#include "sdf/open_file_pool.hpp"

#include <mutex>

#include "platform/immortal.hpp"
#include "sdf/hierarchical_file.hpp"

namespace Kelbor::MathModule {

void HierarchicalFilePool::add(HierarchicalFileInterface& file) {
  {
    const std::lock_guard guard(lock_);
    files_.remove(&file);
    files_.push_back(&file);
    if (files_.size() <= kMaxOpenFiles) return;
  }
  (void)closeOldest(file);
}

bool HierarchicalFilePool::closeOldest(const HierarchicalFileInterface& except) {
  // Locked while the victim is in the list: it can neither be used nor destroyed before it is
  // closed. try_acquire only, since the caller holds its own file's lock and two callers could wait
  // for each other.
  tbb::spin_rw_mutex::scoped_lock victimLock;
  HierarchicalFileInterface* victim = nullptr;
  {
    const std::lock_guard guard(lock_);
    for (auto candidate = files_.begin(); candidate != files_.end(); ++candidate) {
      if (*candidate == &except) continue;
      if (!victimLock.try_acquire((*candidate)->lock_, /*write=*/true)) continue;
      victim = *candidate;
      files_.erase(candidate);
      break;
    }
  }
  if (victim) victim->closeIfOpen(/*unregister=*/false);
  return victim != nullptr;
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

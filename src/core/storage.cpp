#include "core/storage.hpp"

#include <stdexcept>
#include <utility>

#include "core/error.hpp"

namespace Kelbor {

std::shared_ptr<StorageProvider> stealContainer(DataManager* context, DataProvider& source) {
  auto thief = std::make_shared<StorageProvider>(context, source.getDataDimension());
  const DataContainer* container = source.getContainer();
  if (source.getReferences() > 1 || (container && !container->isUnlocked())) {
    raise<std::runtime_error>("Cannot steal output provider's DC into StorageProvider (locked!)!");
  }
  thief->installContainer(source.uninstallContainer(source.getContainer()));
  return thief;
}

KelborStorage::~KelborStorage() {
  clear();
}

DataProvider* KelborStorage::lookup(const std::string& key) {
  const tbb::spin_rw_mutex::scoped_lock guard(lock_, /*write=*/true);
  const auto found = buffer_.find(key);
  return found == buffer_.end() ? nullptr : found->second.provider.get();
}

bool KelborStorage::store(const std::string& key, std::unique_ptr<DataProvider>& provider) {
  const tbb::spin_rw_mutex::scoped_lock guard(lock_, /*write=*/true);
  const auto [entry, isNew] = buffer_.try_emplace(key);
  if (!isNew) return false;
  entry->second.hold = ContentHold(*provider);
  entry->second.provider = std::move(provider);
  return true;
}

std::unique_ptr<DataProvider> KelborStorage::take(const std::string& key) {
  const auto found = buffer_.find(key);
  if (found == buffer_.end()) return nullptr;
  std::unique_ptr<DataProvider> provider = std::move(found->second.provider);
  buffer_.erase(found);
  return provider;
}

void KelborStorage::clear() {
  for (auto& [key, entry] : buffer_) {
    entry.hold = ContentHold();
    if (entry.provider->getReferences() != 0) {
      (void)entry.provider.release();
    } else if (auto* cached = dynamic_cast<CachedStorageProvider*>(entry.provider.get())) {
      cached->isCached = false;
    }
  }
  buffer_.clear();
}

}  // namespace Kelbor

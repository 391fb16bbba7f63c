#include "recipes/dataset_cache.hpp"

#include <stdexcept>
#include <tuple>
#include <utility>

#include "core/error.hpp"

namespace morvex {

bool operator<(const DatasetCacheKey& a, const DatasetCacheKey& b) {
  return std::tie(a.datasetPath, a.outputKey, a.outputIndex) <
         std::tie(b.datasetPath, b.outputKey, b.outputIndex);
}

std::shared_ptr<Kelbor::StorageProvider> DatasetCache::find(const DatasetCacheKey& key) const {
  const auto found = entries_.find(key);
  return found == entries_.end() ? nullptr : found->second.provider;
}

std::shared_ptr<Kelbor::StorageProvider> DatasetCache::get(const DatasetCacheKey& key) const {
  auto provider = find(key);
  if (!provider) {
    Kelbor::raise<std::runtime_error>("tried to retrieve dataset that is not in the cache!");
  }
  return provider;
}

void DatasetCache::insert(const DatasetCacheKey& key,
                          std::shared_ptr<Kelbor::StorageProvider> provider) {
  const auto [entry, isNew] = entries_.try_emplace(key);
  if (!isNew) return;
  entry->second.hold = Kelbor::ContentHold(*provider);
  entry->second.provider = std::move(provider);
}

void DatasetCache::removeIf(const std::function<bool(const std::string& datasetPath)>& predicate) {
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    if (!predicate(entry->first.datasetPath)) {
      ++entry;
      continue;
    }
    Kelbor::getLogger().debug() << "Removing dataset from cache: " << entry->first.datasetPath;
    entry = entries_.erase(entry);
  }
}

}  // namespace morvex

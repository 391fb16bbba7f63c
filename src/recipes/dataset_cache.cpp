#include "recipes/dataset_cache.hpp"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

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
                          std::shared_ptr<Kelbor::StorageProvider> provider, const Shelf& shelf) {
  const auto [entry, isNew] = entries_.try_emplace(key);
  if (!isNew) return;
  try {
    filed_.insert({shelf, &entry->first});
  } catch (...) {  // out of memory: all or nothing
    entries_.erase(entry);
    throw;
  }
  entry->second.shelf = shelf;
  entry->second.hold = Kelbor::ContentHold(*provider);
  entry->second.provider = std::move(provider);
  sizeInBytes_ += entry->second.provider->getDataDimension().getByteSize();
}

void DatasetCache::clear() noexcept {
  filed_.clear();
  entries_.clear();
  sizeInBytes_ = 0;
}

void DatasetCache::removeIf(std::span<const ShelfRange> ranges,
                            const std::function<bool(const std::string& datasetPath)>& predicate) {
  std::vector<const DatasetCacheKey*> candidates;
  for (const ShelfRange& range : ranges) {
    auto filed = filed_.lower_bound({range.first, nullptr});
    for (; filed != filed_.end() && filed->shelf <= range.last; ++filed) {
      candidates.push_back(filed->key);
    }
  }
  std::ranges::sort(candidates, [](const auto* a, const auto* b) { return *a < *b; });
  for (const DatasetCacheKey* key : candidates) {
    if (!predicate(key->datasetPath)) continue;
    Kelbor::getLogger().debug() << "Removing dataset from cache: " << key->datasetPath;
    const auto entry = entries_.find(*key);
    filed_.erase({entry->second.shelf, key});
    sizeInBytes_ -= entry->second.provider->getDataDimension().getByteSize();
    entries_.erase(entry);
  }
}

const Shelf* DatasetCache::nextShelf(const Shelf& from) const {
  const auto filed = filed_.lower_bound({from, nullptr});
  return filed == filed_.end() ? nullptr : &filed->shelf;
}

}  // namespace morvex

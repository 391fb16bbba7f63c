#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "core/storage.hpp"

namespace morvex {

/// Names a finished result: an output of the procedure `outputKey` in the chain of a dataset.
struct DatasetCacheKey {
  std::int32_t outputIndex = 0;
  std::string outputKey;
  std::string datasetPath;

  /// By path, then output key, then output number; texts byte by byte, shorter first.
  friend bool operator<(const DatasetCacheKey& a, const DatasetCacheKey& b);
};

/// Finished results that later reads may need, kept until they are removed by rule. Entries that a
/// chain still reads from stay alive there. Used by the host's thread alone.
class DatasetCache {
 public:
  /// Null if there is no such entry.
  [[nodiscard]] std::shared_ptr<Kelbor::StorageProvider> find(const DatasetCacheKey& key) const;
  /// std::runtime_error "tried to retrieve dataset that is not in the cache!".
  [[nodiscard]] std::shared_ptr<Kelbor::StorageProvider> get(const DatasetCacheKey& key) const;
  /// Keeps the provider and its content. An entry that is there already stands.
  void insert(const DatasetCacheKey& key, std::shared_ptr<Kelbor::StorageProvider> provider);
  /// Removes every entry whose dataset path satisfies the predicate, in key order, each with a line
  /// at DEBUG.
  void removeIf(const std::function<bool(const std::string& datasetPath)>& predicate);

  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }

 private:
  struct Entry {
    std::shared_ptr<Kelbor::StorageProvider> provider;
    Kelbor::ContentHold hold;  // ends before the provider
  };

  std::map<DatasetCacheKey, Entry> entries_;
};

}  // namespace morvex

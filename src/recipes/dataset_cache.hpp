#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>

#include "core/storage.hpp"

namespace morvex {

/// Names a finished result: output `outputIndex` of the procedure `outputKey` in a dataset's chain.
struct DatasetCacheKey {
  std::int32_t outputIndex = 0;
  std::string outputKey;
  std::string datasetPath;

  /// By path, output key, output number. Texts byte by byte, a prefix first.
  friend bool operator<(const DatasetCacheKey& a, const DatasetCacheKey& b);
};

/// A position in the order of eviction. Entries that become useless together share a shelf, so a
/// removal visits only the shelves that it may empty, however many entries stay. The rule that
/// evicts assigns the numbers (simulation/eviction.hpp).
struct Shelf {
  std::int32_t kind = 0;
  std::int32_t timeset = 0;
  std::int64_t reach = 0;
  std::int64_t step = 0;

  friend auto operator<=>(const Shelf&, const Shelf&) = default;
};

/// The shelves from `first` to `last`, inclusive.
struct ShelfRange {
  Shelf first;
  Shelf last;
};

/// Finished results that later reads may need, kept until a rule removes them. An entry that a
/// chain still reads stays alive in that chain. Used by one thread.
class DatasetCache {
 public:
  /// Null if there is no such entry.
  [[nodiscard]] std::shared_ptr<Kelbor::StorageProvider> find(const DatasetCacheKey& key) const;
  /// std::runtime_error "tried to retrieve dataset that is not in the cache!".
  [[nodiscard]] std::shared_ptr<Kelbor::StorageProvider> get(const DatasetCacheKey& key) const;
  /// Keeps the provider and its content on `shelf`. An entry of that key that exists already stays.
  void insert(const DatasetCacheKey& key, std::shared_ptr<Kelbor::StorageProvider> provider,
              const Shelf& shelf = {});
  /// Removes every entry on the shelves of `ranges` whose dataset path satisfies the predicate, in
  /// key order, each with a DEBUG line. If the predicate throws, entries removed before stay
  /// removed. Takes time proportional to the entries in the ranges.
  void removeIf(std::span<const ShelfRange> ranges,
                const std::function<bool(const std::string& datasetPath)>& predicate);

  /// Removes everything, without a line. For a reader with a limit to its memory.
  void clear() noexcept;

  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  /// Of the values of all entries.
  [[nodiscard]] std::uint64_t sizeInBytes() const noexcept { return sizeInBytes_; }
  /// The first shelf from `from` on that has an entry; null if there is none.
  [[nodiscard]] const Shelf* nextShelf(const Shelf& from) const;

 private:
  struct Entry {
    Shelf shelf;
    std::shared_ptr<Kelbor::StorageProvider> provider;
    Kelbor::ContentHold hold;  // released before the provider
  };
  using Entries = std::map<DatasetCacheKey, Entry>;

  /// An entry on its shelf; its address only distinguishes entries of the same shelf.
  struct Filed {
    Shelf shelf;
    const DatasetCacheKey* key;
    friend auto operator<=>(const Filed&, const Filed&) = default;
  };

  Entries entries_;
  std::set<Filed> filed_;
  std::uint64_t sizeInBytes_ = 0;
};

}  // namespace morvex

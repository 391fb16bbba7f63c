#pragma once

#include <tbb/spin_rw_mutex.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "core/provider.hpp"

namespace Kelbor {

/// Finished content without its graph. There is no producer: content that is dropped is lost.
class StorageProvider final : public DataProvider {
 public:
  using DataProvider::DataProvider;
};

/// A provider that the storage marks before freeing it. Nothing makes one yet.
class CachedStorageProvider : public DataProvider {
 public:
  using DataProvider::DataProvider;
  bool isCached = true;
};

/// Keeps a provider's content during its lifetime: it counts as two readers, so no reader's release
/// drops the content. The provider must outlive the guard. A guard may be empty.
class ContentHold {
 public:
  ContentHold() = default;
  explicit ContentHold(Provider& provider) noexcept : provider_(&provider) {
    provider.addReference();
    provider.addReference();
  }
  ContentHold(ContentHold&& other) noexcept : provider_(other.provider_) {
    other.provider_ = nullptr;
  }
  ContentHold& operator=(ContentHold&& other) noexcept {
    std::swap(provider_, other.provider_);
    return *this;
  }
  ContentHold(const ContentHold&) = delete;
  ContentHold& operator=(const ContentHold&) = delete;
  ~ContentHold() {
    if (!provider_) return;
    provider_->releaseReference();
    provider_->releaseReference();
  }

 private:
  Provider* provider_ = nullptr;
};

/// Moves a finished provider's container into a new provider without copying. std::runtime_error if
/// the source has more than one reference or is being read or written.
[[nodiscard]] std::shared_ptr<StorageProvider> stealContainer(DataManager* context,
                                                              DataProvider& source);

/// Finished providers by key. Owns them and keeps their content.
class KelborStorage {
 public:
  KelborStorage() = default;
  KelborStorage(const KelborStorage&) = delete;
  KelborStorage& operator=(const KelborStorage&) = delete;
  virtual ~KelborStorage();

  /// The provider of a key, borrowed; null if there is none.
  [[nodiscard]] DataProvider* lookup(const std::string& key);
  /// Returns false and leaves the provider to the caller if the key is taken.
  bool store(const std::string& key, std::unique_ptr<DataProvider>& provider);
  /// Removes an entry. The caller owns the provider, whose content is no longer held. Null if there
  /// is no entry.
  [[nodiscard]] std::unique_ptr<DataProvider> take(const std::string& key);
  /// Removes all entries. Leaks one that is still being read, rather than free it under its reader.
  void clear();

 private:
  struct Entry {
    std::unique_ptr<DataProvider> provider;
    ContentHold hold;
  };

  tbb::spin_rw_mutex lock_;
  std::map<std::string, Entry> buffer_;
};

}  // namespace Kelbor

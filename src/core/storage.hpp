#pragma once

#include <tbb/spin_rw_mutex.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "core/provider.hpp"

namespace Kelbor {

/// Finished content that has left its graph: no producer, and content that is dropped is gone.
class StorageProvider final : public DataProvider {
 public:
  using DataProvider::DataProvider;
};

/// A kind of provider that the storage marks before it frees it. Nothing makes one yet.
class CachedStorageProvider : public DataProvider {
 public:
  using DataProvider::DataProvider;
  bool isCached = true;
};

/// Keeps the content of a provider by two references for as long as the guard lives: no reader's
/// release frees it. The provider must outlive the guard, which may be empty.
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

/// Moves a finished provider's container into a provider of its own; no byte is copied.
/// std::runtime_error if the source has more than one reference or is being read or written.
[[nodiscard]] std::shared_ptr<StorageProvider> stealContainer(DataManager* context,
                                                              DataProvider& source);

/// Finished providers by key. Owns what is put in and keeps its content.
class KelborStorage {
 public:
  KelborStorage() = default;
  KelborStorage(const KelborStorage&) = delete;
  KelborStorage& operator=(const KelborStorage&) = delete;
  virtual ~KelborStorage();

  /// The provider of a key, borrowed; null without an entry.
  [[nodiscard]] DataProvider* lookup(const std::string& key);
  /// False, with the provider left to the caller, if the key is taken.
  bool store(const std::string& key, std::unique_ptr<DataProvider>& provider);
  /// Takes an entry out: the caller owns the provider, which is then like any other. Null without
  /// an entry.
  [[nodiscard]] std::unique_ptr<DataProvider> take(const std::string& key);
  /// Drops all entries. One that somebody still reads from leaves the storage and stays alive.
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

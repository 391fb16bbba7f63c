#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Kelbor {

class DataManager;
class DataProvider;

/// Common to all containers: the size of the content and the counts of its readers and writers.
class AnyContainer {
 public:
  AnyContainer() = default;
  AnyContainer(const AnyContainer&) = delete;
  AnyContainer& operator=(const AnyContainer&) = delete;
  virtual ~AnyContainer() = default;

  [[nodiscard]] bool isUnlocked() const noexcept { return writeLocks == 0 && readLocks == 0; }

  /// Handle of a copy outside memory; always 0, as this manager keeps none.
  std::uint64_t backingStore = 0;
  /// Bytes of the block; all bits set until known.
  std::uint64_t size = ~std::uint64_t{0};
  std::atomic<std::int32_t> writeLocks{0};
  std::atomic<std::int32_t> readLocks{0};
  std::int32_t priority = 0x7FFFFFFF;
};

/// The block of memory with a provider's content, either allocated from the manager and owned, or
/// foreign memory that is only referenced. A provider that has a container has valid content. An
/// installed container belongs to its provider.
class DataContainer : public AnyContainer {
 public:
  /// Empty and not installed. The manager is borrowed; it may be null for containers that never
  /// allocate.
  explicit DataContainer(DataManager* manager) : dataManager(manager) {}
  ~DataContainer() override;

  [[nodiscard]] const std::byte* getConstData() const noexcept { return data; }
  /// Null for a constant container.
  [[nodiscard]] std::byte* getData() noexcept { return isConstant ? nullptr : data; }

  /// Allocates `byteCount` bytes, not zeroed. False, with a WARNING, if that fails.
  [[nodiscard]] bool allocate(std::uint64_t byteCount);
  /// References foreign memory, which is never written, resized or freed through this container.
  void wrap(void* source, std::uint64_t byteCount) noexcept;
  /// Uses foreign memory as its block: writes to it, never frees it.
  void borrow(std::span<std::byte> memory) noexcept;
  /// Resizes to the owner's byte size. False if `caller` is not the owner, the container is
  /// constant or memory runs out.
  [[nodiscard]] bool reallocate(DataProvider& caller);
  /// Moves this container to another provider, so that a step can work in place. Returns false and
  /// changes nothing if the container is constant, in use, wanted by a second reader or too small.
  /// std::runtime_error if the target already has a container.
  [[nodiscard]] bool migrate(DataProvider& outputProvider);
  /// Takes this container, with its bytes, out of its provider. std::runtime_error if it has none.
  [[nodiscard]] std::unique_ptr<DataContainer> evict();
  /// std::logic_error "getDataManager() on DataContainer without DM!" if there is none.
  [[nodiscard]] DataManager& getDataManager() const;

  DataManager* dataManager;
  /// The provider that this container is installed in, borrowed; null if none.
  DataProvider* provider = nullptr;
  bool isValid = false;
  /// The block is foreign memory that is only read.
  bool isConstant = false;
  /// The block is foreign memory that is written.
  bool isBorrowed = false;
  std::byte* data = nullptr;
};

}  // namespace Kelbor

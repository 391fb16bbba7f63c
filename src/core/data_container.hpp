#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Kelbor {

class DataManager;
class DataProvider;

/// What all containers share: the size of the content and the counts of those who use it.
class AnyContainer {
 public:
  AnyContainer() = default;
  AnyContainer(const AnyContainer&) = delete;
  AnyContainer& operator=(const AnyContainer&) = delete;
  virtual ~AnyContainer() = default;

  [[nodiscard]] bool isUnlocked() const noexcept { return writeLocks == 0 && readLocks == 0; }

  /// Handle of a copy outside memory; 0, as the lightweight manager keeps none.
  std::uint64_t backingStore = 0;
  /// Bytes of the block; all bits set before anything is known.
  std::uint64_t size = ~std::uint64_t{0};
  std::atomic<std::int32_t> writeLocks{0};
  std::atomic<std::int32_t> readLocks{0};
  std::int32_t priority = 0x7FFFFFFF;
};

/// The one block of memory that holds a provider's content: allocated from the manager and owned,
/// or foreign memory that is only referred to. Its presence in a provider says that the content is
/// valid. While installed it belongs to its provider; providers make it (see DataProvider).
class DataContainer : public AnyContainer {
 public:
  /// Empty and installed nowhere. The manager is borrowed; null only for containers that never
  /// allocate.
  explicit DataContainer(DataManager* manager) : dataManager(manager) {}
  ~DataContainer() override;

  [[nodiscard]] const std::byte* getConstData() const noexcept { return data; }
  /// Null for a constant container.
  [[nodiscard]] std::byte* getData() noexcept { return isConstant ? nullptr : data; }

  /// Allocates `byteCount` bytes, not zeroed. False, with a WARNING, if that fails.
  [[nodiscard]] bool allocate(std::uint64_t byteCount);
  /// Refers to foreign memory, which is never written, resized or freed through this container.
  void wrap(void* source, std::uint64_t byteCount) noexcept;
  /// Uses foreign memory as its block: writes to it, and leaves it without freeing it.
  void borrow(std::span<std::byte> memory) noexcept;
  /// Resizes to the owner's byte size. False if `caller` is not the owner or memory runs out.
  [[nodiscard]] bool reallocate(DataProvider& caller);
  /// Moves this container to another provider, so that a step may work in place. False, with
  /// nothing changed, if it is constant, in use, needed by a second reader, or too small.
  /// std::runtime_error if the target has a container.
  [[nodiscard]] bool migrate(DataProvider& outputProvider);
  /// Takes this container out of its provider, with its bytes. std::runtime_error without one.
  [[nodiscard]] std::unique_ptr<DataContainer> evict();
  /// std::logic_error "getDataManager() on DataContainer without DM!" if there is none.
  [[nodiscard]] DataManager& getDataManager() const;

  DataManager* dataManager;
  /// Where this container is installed, borrowed; null if nowhere.
  DataProvider* provider = nullptr;
  bool isValid = false;
  /// The block is foreign memory that is only read.
  bool isConstant = false;
  /// The block is foreign memory that is written.
  bool isBorrowed = false;
  std::byte* data = nullptr;
};

}  // namespace Kelbor

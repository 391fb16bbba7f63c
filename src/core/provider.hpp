#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/data_container.hpp"
#include "core/data_manager.hpp"
#include "core/dimension.hpp"
#include "platform/critical_section.hpp"

namespace Kelbor {

class DataProcedure;

/// A node of the graph that holds a value, which may not exist yet. Knows the producer that can
/// make it, counts its readers, and has the lock under which it is made.
class Provider {
 public:
  /// `context` is the session's data manager; borrowed, must outlive the provider.
  explicit Provider(DataManager* context) : context_(context) {}
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  // The order of the virtual functions is fixed.
  virtual ~Provider() = default;
  /// True if at most one reader needs the content.
  [[nodiscard]] virtual bool isFreeable() const { return getReferences() < 2; }
  virtual void clearContent() = 0;
  /// Makes the content: the one place where a read runs its producer. Callers first look for
  /// existing content.
  virtual bool prepare();
  /// Makes the content of a source, that is, of a provider without a producer.
  virtual bool prepareContent() = 0;

  /// prepare(), or Exception "Provider prepare the content failed!". Any failure leaves the
  /// provider empty: content that exists is complete.
  void ensureContent();

  void setProducer(DataProcedure* producer, std::int32_t slot) noexcept {
    producer_ = producer;
    producerSlot_ = slot;
  }
  [[nodiscard]] bool hasProducer() const noexcept { return producer_ != nullptr; }
  [[nodiscard]] DataProcedure* getProducer() const noexcept { return producer_; }
  [[nodiscard]] std::int32_t getProducerSlot() const noexcept { return producerSlot_; }
  [[nodiscard]] DataManager* getContext() const noexcept { return context_; }

  /// Connected input slots and holds of the storage. The producer owns the provider and is not
  /// counted.
  [[nodiscard]] std::int32_t getReferences() const noexcept { return references_; }
  void addReference() noexcept { references_.fetch_add(1); }
  void releaseReference() noexcept { references_.fetch_sub(1); }

  /// Held while checking for content and while making it.
  Platform::CriticalSection lock;

 private:
  DataManager* context_;
  DataProcedure* producer_ = nullptr;
  std::int32_t producerSlot_ = -1;
  std::atomic<std::int32_t> references_{0};
};

/// A value that is a typed array.
///
///   empty -> filled by prepare or allocation; filled <-> locked by readers and writers;
///   filled -> empty when the last reader leaves or the container moves on.
class DataProvider : public Provider {
 public:
  DataProvider(DataManager* context, DataDimension dimension);
  ~DataProvider() override;

  [[nodiscard]] bool isFreeable() const override;
  void clearContent() override;
  bool prepareContent() override { return false; }
  /// True if the container may move to another provider.
  [[nodiscard]] virtual bool isMigratable() const { return isFreeable(); }

  [[nodiscard]] const DataDimension& getDataDimension() const noexcept { return dimension_; }
  /// Logs an ERROR and returns false while the content is read or written. Keeps an existing
  /// container, even if its size no longer fits.
  [[nodiscard]] bool setDataDimension(const DataDimension& dimension);
  /// KelborDataException if the element size would change.
  void setDataType(DataType type);

  [[nodiscard]] bool hasContainer() const noexcept { return container_ != nullptr; }
  /// Null while the provider is empty.
  [[nodiscard]] DataContainer* getContainer() const noexcept { return container_.get(); }
  /// Offers memory for the next content, which uses it if it is large enough; an empty span
  /// withdraws the offer. The caller keeps the memory alive and unshared as long as the content
  /// exists.
  void lendMemory(std::span<std::byte> memory) noexcept { lent_ = memory; }
  [[nodiscard]] std::span<std::byte> lentMemory() const noexcept { return lent_; }
  /// Gives the empty provider a block of its byte size. MemoryAllocationException "Failed to
  /// allocate container!" if memory runs out.
  void allocateContainer();
  /// Makes the empty provider reference foreign memory, which must outlive the content.
  void wrapMemory(void* source, std::uint64_t byteCount);
  /// Makes the empty provider hold a copy of `byteCount` bytes.
  void copyMemory(const void* source, std::uint64_t byteCount);
  /// Takes ownership of the container; if that fails, the caller keeps it. KelborDataException if
  /// it is null or installed elsewhere, or if this provider has one.
  void installContainer(std::unique_ptr<DataContainer>&& container);
  /// Releases the container. KelborDataException if it is not this provider's.
  [[nodiscard]] std::unique_ptr<DataContainer> uninstallContainer(DataContainer* container);

  /// Takes a lock without waiting. KelborDataException on a conflict or if the content has no
  /// memory. The pointer is valid until the release, for as many elements as the provider has.
  [[nodiscard]] const std::byte* getReadData();
  [[nodiscard]] std::byte* getWriteData();
  void releaseRead() noexcept { container_->readLocks.fetch_sub(1); }
  void releaseWrite() noexcept { container_->writeLocks.fetch_sub(1); }

 private:
  DataContainer& installNewContainer();

  DataDimension dimension_;
  std::unique_ptr<DataContainer> container_;
  std::span<std::byte> lent_;
};

}  // namespace Kelbor

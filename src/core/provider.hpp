#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/data_container.hpp"
#include "core/data_manager.hpp"
#include "core/dimension.hpp"
#include "platform/critical_section.hpp"

namespace Kelbor {

/// What a provider needs of the procedure that makes its content; procedures implement it.
class Producer {
 public:
  Producer() = default;
  Producer(const Producer&) = delete;
  Producer& operator=(const Producer&) = delete;
  virtual ~Producer() = default;
  /// Computes the content of one output; false if that failed.
  virtual bool process(std::int32_t outputIndex) = 0;
  /// Settles the outputs' dimensions from those of the inputs, whose content is known by now.
  virtual void updateOutputDimensionsFromProcessedInput() = 0;
};

/// A node of the data-flow graph: a value that may not exist yet. Knows the producer that can make
/// it, counts who depends on it, and carries the lock under which it is made.
class Provider {
 public:
  /// `context` is the session's data manager; borrowed, outlives the provider.
  explicit Provider(DataManager* context) : context_(context) {}
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  // The positions of the virtual operations are fixed.
  virtual ~Provider() = default;
  /// True when nobody but one reader needs the content.
  [[nodiscard]] virtual bool isFreeable() const { return getReferences() < 2; }
  virtual void clearContent() = 0;
  /// Makes the content: the one point where the graph is pulled. Callers look for existing content
  /// first.
  virtual bool prepare();
  /// Makes the content of a source, which has no producer.
  virtual bool prepareContent() = 0;

  /// prepare(), or Exception "Provider prepare the content failed!". A failure of any kind leaves
  /// the provider empty: content that exists is content that is right.
  void ensureContent();

  void setProducer(Producer* producer, std::int32_t slot) noexcept {
    producer_ = producer;
    producerSlot_ = slot;
  }
  [[nodiscard]] bool hasProducer() const noexcept { return producer_ != nullptr; }
  [[nodiscard]] Producer* getProducer() const noexcept { return producer_; }
  [[nodiscard]] std::int32_t getProducerSlot() const noexcept { return producerSlot_; }
  [[nodiscard]] DataManager* getContext() const noexcept { return context_; }

  /// Connected input slots and holds of the storage; the producer, which owns it, is not counted.
  [[nodiscard]] std::int32_t getReferences() const noexcept { return references_; }
  void addReference() noexcept { references_.fetch_add(1); }
  void releaseReference() noexcept { references_.fetch_sub(1); }

  /// Held while deciding whether content must be made, and while making it.
  Platform::CriticalSection lock;

 private:
  DataManager* context_;
  Producer* producer_ = nullptr;
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
  /// True when the container may move to another provider.
  [[nodiscard]] virtual bool isMigratable() const { return isFreeable(); }

  [[nodiscard]] const DataDimension& getDataDimension() const noexcept { return dimension_; }
  /// False, with an ERROR, while somebody reads or writes. A container of the old size stays.
  [[nodiscard]] bool setDataDimension(const DataDimension& dimension);
  /// KelborDataException if the element size would change.
  void setDataType(DataType type);

  [[nodiscard]] bool hasContainer() const noexcept { return container_ != nullptr; }
  /// Null while the provider is empty.
  [[nodiscard]] DataContainer* getContainer() const noexcept { return container_.get(); }
  /// Lets the content that is made next take this memory for its block, if it is large enough; an
  /// empty span takes that back. The lender sees to it that the memory outlives the content and
  /// that nobody else uses it meanwhile.
  void lendMemory(std::span<std::byte> memory) noexcept { lent_ = memory; }
  [[nodiscard]] std::span<std::byte> lentMemory() const noexcept { return lent_; }
  /// Gives the empty provider a block of its byte size. MemoryAllocationException "Failed to
  /// allocate container!" where memory runs out.
  void allocateContainer();
  /// Lets the empty provider refer to foreign memory, which must outlive the content.
  void wrapMemory(void* source, std::uint64_t byteCount);
  /// Lets the empty provider hold a copy of `byteCount` bytes.
  void copyMemory(const void* source, std::uint64_t byteCount);
  /// Takes the container over; on failure it stays the caller's. KelborDataException if it is null,
  /// installed somewhere, or if this provider has one.
  void installContainer(std::unique_ptr<DataContainer>&& container);
  /// Gives the container up. KelborDataException if it is not this provider's.
  [[nodiscard]] std::unique_ptr<DataContainer> uninstallContainer(DataContainer* container);

  /// Optimistic locks that never wait: a conflict, and content without memory, is raised as
  /// KelborDataException. The pointer holds for the provider's elements until the release.
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

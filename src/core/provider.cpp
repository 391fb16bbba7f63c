#include "core/provider.hpp"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "core/error.hpp"
#include "core/procedure.hpp"

namespace Kelbor {

bool Provider::prepare() {
  return producer_ ? runProcedure(*producer_, producerSlot_) : prepareContent();
}

void Provider::ensureContent() {
  bool prepared = false;
  try {
    prepared = prepare();
  } catch (...) {
    clearContent();
    throw;
  }
  if (prepared) return;
  clearContent();
  raise<Exception>("Provider prepare the content failed!");
}

DataProvider::DataProvider(DataManager* context, DataDimension dimension)
    : Provider(context), dimension_(std::move(dimension)) {}

DataProvider::~DataProvider() = default;

bool DataProvider::isFreeable() const {
  return Provider::isFreeable() && (!container_ || container_->isUnlocked());
}

void DataProvider::clearContent() {
  container_.reset();
}

bool DataProvider::setDataDimension(const DataDimension& dimension) {
  if (container_ && !container_->isUnlocked()) {
    getLogger().error() << "Cannot change dimensions of provider that has read and/or write locks!";
    return false;
  }
  dimension_ = dimension;
  return true;
}

void DataProvider::setDataType(DataType type) {
  if (type.getSize() != dimension_.getDataType().getSize()) {
    raise<KelborDataException>("Tried to change DataProvider to datatype with different size!");
  }
  dimension_.setDataType(type);
}

DataContainer& DataProvider::installNewContainer() {
  installContainer(std::make_unique<DataContainer>(getContext()));
  return *container_;
}

void DataProvider::allocateContainer() {
  const std::uint64_t byteCount = dimension_.getByteSize();
  DataContainer& container = installNewContainer();
  if (byteCount > 0 && byteCount <= lent_.size()) return container.borrow(lent_);
  if (!container.allocate(byteCount)) {
    container_.reset();
    raise<MemoryAllocationException>("Failed to allocate container!");
  }
}

void DataProvider::wrapMemory(void* source, std::uint64_t byteCount) {
  installNewContainer().wrap(source, byteCount);
}

void DataProvider::copyMemory(const void* source, std::uint64_t byteCount) {
  if (!installNewContainer().allocate(byteCount)) {
    container_.reset();
    raise<std::runtime_error>("dataManager.allocate() failed!");
  }
  if (byteCount > 0) std::memcpy(container_->data, source, byteCount);
}

void DataProvider::installContainer(std::unique_ptr<DataContainer>&& container) {
  if (!container) raise<KelborDataException>("Null container!");
  if (container->provider) {
    raise<KelborDataException>("Tried to install container which already has a DP!");
  }
  if (container_) {
    raise<KelborDataException>(
        "Failed to install data container. There is already another container associated!");
  }
  container_ = std::move(container);
  container_->provider = this;
}

std::unique_ptr<DataContainer> DataProvider::uninstallContainer(DataContainer* container) {
  if (!container) raise<KelborDataException>("Null container!");
  if (!container->provider) {
    raise<KelborDataException>("Tried to uninstall container which has no DP!");
  }
  if (container_.get() != container) {
    raise<KelborDataException>(
        "Failed to uninstall data container. The given container is not associated!");
  }
  container_->provider = nullptr;
  return std::move(container_);
}

const std::byte* DataProvider::getReadData() {
  const std::byte* data = nullptr;
  if (container_ && container_->writeLocks == 0) {
    container_->readLocks.fetch_add(1);
    if (container_->writeLocks != 0) {
      container_->readLocks.fetch_sub(1);
    } else {
      data = container_->getConstData();
    }
  }
  if (!data) raise<KelborDataException>("Failed to get read data access!");
  return data;
}

std::byte* DataProvider::getWriteData() {
  std::byte* data = nullptr;
  if (container_ && container_->readLocks == 0 && container_->writeLocks == 0) {
    const std::int32_t writers = container_->writeLocks.fetch_add(1) + 1;
    if (container_->readLocks != 0 || writers != 1) {
      container_->writeLocks.fetch_sub(1);
    } else {
      data = container_->getData();
    }
  }
  if (!data) raise<KelborDataException>("Failed to get write data access!");
  return data;
}

}  // namespace Kelbor

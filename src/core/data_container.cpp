#include "core/data_container.hpp"

#include <stdexcept>

#include "core/data_manager.hpp"
#include "core/error.hpp"
#include "core/provider.hpp"

namespace Kelbor {

DataContainer::~DataContainer() {
  if (dataManager && !dataManager->deallocate(*this)) {
    abortProcess("Deallocation of DataContainer failed!");
  }
}

bool DataContainer::allocate(std::uint64_t byteCount) {
  isValid = true;
  size = 0;
  return getDataManager().allocate(this, byteCount);
}

void DataContainer::wrap(void* source, std::uint64_t byteCount) noexcept {
  isValid = true;
  isConstant = true;
  size = byteCount;
  backingStore = 0;
  data = static_cast<std::byte*>(source);
}

void DataContainer::borrow(std::span<std::byte> memory) noexcept {
  isValid = true;
  isBorrowed = true;
  size = memory.size();
  data = memory.data();
}

bool DataContainer::reallocate(DataProvider& caller) {
  if (provider != &caller || isConstant) return false;
  return getDataManager().reallocate(*this, caller.getDataDimension().getByteSize());
}

bool DataContainer::migrate(DataProvider& outputProvider) {
  if (outputProvider.hasContainer()) {
    raise<std::runtime_error>("DataContainer::migrate: outputProvider has DataContainer!");
  }
  const std::uint64_t need = outputProvider.getDataDimension().getByteSize();
  if (isConstant || !provider || !provider->isMigratable() || size < need) return false;
  readLocks.fetch_add(1);
  outputProvider.installContainer(evict());
  readLocks.fetch_sub(1);
  return true;
}

std::unique_ptr<DataContainer> DataContainer::evict() {
  if (!provider) {
    raise<std::runtime_error>("Cannot evict if DataContainer has not provider associated!");
  }
  if (backingStore != 0) (void)getDataManager();
  return provider->uninstallContainer(this);
}

DataManager& DataContainer::getDataManager() const {
  if (!dataManager) raise<std::logic_error>("getDataManager() on DataContainer without DM!");
  return *dataManager;
}

}  // namespace Kelbor

#include "core/data_manager.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "core/data_container.hpp"
#include "core/error.hpp"
#include "platform/thread_count.hpp"

namespace Kelbor {
namespace {

void internalAllocate(BlockPool& pool, DataContainer* container, std::uint64_t size) {
  if (!container) raise<std::invalid_argument>("NULL DataContainer!");
  if (container->isConstant) {
    raise<std::invalid_argument>("Cannot allocate a constant container!");
  }
  if (container->size != 0) {
    raise<std::invalid_argument>("Cannot allocate an allocated container!");
  }
  void* block = pool.take(size);
  if (!block) raise<std::runtime_error>("Allocation of " + std::to_string(size) + " bytes failed!");
  container->size = size;
  container->isValid = true;
  container->isConstant = false;
  container->data = static_cast<std::byte*>(block);
}

}  // namespace

DataManager::DataManager(std::uint64_t /*totalPhysicalMemory*/) {
  getLogger().warning() << "Using lightweight data manager!";
}

int DataManager::threadBudget() const {
  return threadBudget_ > 0 ? threadBudget_ : std::max(Platform::threadCount(), 1);
}

bool DataManager::allocate(DataContainer* container, std::uint64_t size) noexcept {
  try {
    internalAllocate(pool_, container, size);
    return true;
  } catch (const std::exception& failure) {
    getLogger().warning() << "internalAllocate failed: " << failure.what();
    return false;
  }
}

bool DataManager::reallocate(DataContainer& container, std::uint64_t size) noexcept {
  void* block = nullptr;
  if (container.isBorrowed) {
    block = pool_.take(size);
    if (block) std::memcpy(block, container.data, std::min(container.size, size));
    container.isBorrowed = false;
  } else {
    block = pool_.resize(container.data, container.size, size);
  }
  if (!block) {
    container.data = nullptr;
    container.isValid = false;
    container.size = 0;
    return false;
  }
  container.data = static_cast<std::byte*>(block);
  container.size = size;
  container.isValid = true;
  return true;
}

bool DataManager::deallocate(DataContainer& container) noexcept {
  if (!container.isConstant && !container.isBorrowed) {
    pool_.giveBack(container.data, container.size);
  }
  container.isBorrowed = false;
  container.isValid = false;
  container.data = nullptr;
  container.size = 0;
  return true;
}

}  // namespace Kelbor

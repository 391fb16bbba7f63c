#include "core/object_provider.hpp"

#include <stdexcept>
#include <utility>

#include "core/error.hpp"

namespace Kelbor {

ObjectProvider::ObjectProvider(DataManager* context, ObjectDetails details)
    : Provider(context),
      objectCount_(static_cast<std::uint32_t>(details.objectCount)),
      details_(std::move(details)) {}

bool ObjectProvider::isFreeable() const {
  return Provider::isFreeable() && (!container_ || container_->isUnlocked());
}

ObjectContainer& ObjectProvider::allocateContainer() {
  container_ = std::make_unique<ObjectContainer>(objectCount_);
  return *container_;
}

void* ObjectProvider::getObject(std::uint32_t index) const {
  if (index >= objectCount_) {
    raise<std::runtime_error>("Object container index is higher than upper bound!");
  }
  const bool exists = container_ && index < container_->objects.size();
  if (!exists || !container_->objects[index]) {
    raise<KelborDataException>("Failed to get read data access!");
  }
  return container_->objects[index].get();
}

bool ObjectProvider::lockForReading(bool& taken) {
  taken = false;
  if (container_->writeLocks != 0) return true;
  container_->readLocks.fetch_add(1);
  if (container_->writeLocks != 0) {
    container_->readLocks.fetch_sub(1);
    return false;
  }
  taken = true;
  return true;
}

}  // namespace Kelbor

#include "core/scoped_object.hpp"

#include <mutex>
#include <stdexcept>
#include <utility>

#include "core/checked.hpp"
#include "core/error.hpp"
#include "core/scoped_access.hpp"

namespace Kelbor {
namespace {

constexpr const char* kNoProvider = "ScopedObject without provider!";

}  // namespace

ScopedConstObject::ScopedConstObject(ObjectProvider* provider) : provider_(provider) {
  Detail::requireProvider(provider, kNoProvider);
  const std::lock_guard guard(provider->lock);
  if (!provider->hasContainer()) provider->ensureContent();
  if (!provider->hasContainer() || provider->getObjectCount() > provider->getContainer()->size) {
    raise<Exception>("Output container is too small for ScopedConstObject!");
  }
  if (!provider->lockForReading(locked_)) {
    raise<KelborDataException>("Failed to get read data access!");
  }
}

ScopedConstObject::~ScopedConstObject() {
  if (locked_) provider_->releaseRead();
  if (provider_->isFreeable()) provider_->clearContent();
}

ScopedObject::ScopedObject(ObjectProvider* provider) : provider_(provider) {
  Detail::requireProvider(provider, kNoProvider);
  if (!provider->hasContainer()) provider->allocateContainer();
  provider->getContainer()->writeLocks.fetch_add(1);
}

ScopedObject::~ScopedObject() {
  provider_->getContainer()->writeLocks.fetch_sub(1);
}

void ScopedObject::set(std::uint32_t index, std::shared_ptr<void> object) {
  checkedAt(provider_->getContainer()->objects, index) = std::move(object);
}

}  // namespace Kelbor

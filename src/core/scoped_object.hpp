#pragma once

#include <cstdint>

#include "core/object_provider.hpp"

namespace Kelbor {

/// Read access to the objects of a provider; makes missing content.
class ScopedConstObject {
 public:
  /// std::runtime_error if `provider` is null, KelborDataException while a writer holds the
  /// objects.
  explicit ScopedConstObject(ObjectProvider* provider);
  ~ScopedConstObject();
  ScopedConstObject(const ScopedConstObject&) = delete;
  ScopedConstObject& operator=(const ScopedConstObject&) = delete;

  [[nodiscard]] std::uint32_t size() const noexcept { return provider_->getObjectCount(); }
  [[nodiscard]] const void* object(std::uint32_t index) const {
    return provider_->getObject(index);
  }

 private:
  ObjectProvider* provider_;
  bool locked_ = false;
};

/// Write access to the objects of a provider. Never runs a producer; the content stays.
class ScopedObject {
 public:
  explicit ScopedObject(ObjectProvider* provider);
  ~ScopedObject();
  ScopedObject(const ScopedObject&) = delete;
  ScopedObject& operator=(const ScopedObject&) = delete;

  [[nodiscard]] std::uint32_t size() const noexcept { return provider_->getObjectCount(); }
  /// Stores an object. std::out_of_range beyond the last one.
  void set(std::uint32_t index, std::shared_ptr<void> object);

 private:
  ObjectProvider* provider_;
};

}  // namespace Kelbor

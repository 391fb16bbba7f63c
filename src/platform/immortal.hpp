#pragma once

#include <cstddef>
#include <new>

namespace Kelbor::Platform {

/// Holds an object in its own storage and never destroys it: for statics that others may use while
/// the process ends. Allocates nothing, so that the first use can't fail.
template <class T>
class Immortal {
 public:
  Immortal() : object_(*::new (static_cast<void*>(storage_)) T) {}
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  [[nodiscard]] T& get() noexcept { return object_; }

 private:
  alignas(T) std::byte storage_[sizeof(T)];
  T& object_;
};

}  // namespace Kelbor::Platform

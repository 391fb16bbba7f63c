#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/provider.hpp"

namespace Kelbor {

/// Describes the objects of an ObjectProvider. Not interpreted in this layer.
struct ObjectDetails {
  std::uint64_t objectCount = 0;
  std::uint32_t objectSize = 0;
  std::vector<std::uint64_t> values;
  std::vector<std::vector<std::byte>> records;
};

/// The content of an ObjectProvider: objects by number, null where one is missing. Here `size`
/// counts objects.
class ObjectContainer : public AnyContainer {
 public:
  explicit ObjectContainer(std::uint32_t count) : objects(count) { size = count; }

  std::vector<std::shared_ptr<void>> objects;
};

/// A value that is an array of opaque objects.
class ObjectProvider : public Provider {
 public:
  ObjectProvider(DataManager* context, ObjectDetails details);

  [[nodiscard]] bool isFreeable() const override;
  void clearContent() override { container_.reset(); }
  bool prepareContent() override { return false; }

  [[nodiscard]] std::uint32_t getObjectCount() const noexcept { return objectCount_; }
  [[nodiscard]] const ObjectDetails& getDetails() const noexcept { return details_; }
  [[nodiscard]] bool hasContainer() const noexcept { return container_ != nullptr; }
  [[nodiscard]] ObjectContainer* getContainer() const noexcept { return container_.get(); }
  /// Gives the empty provider room for all its objects.
  ObjectContainer& allocateContainer();

  /// The object, borrowed. std::runtime_error beyond the upper bound, KelborDataException for a
  /// missing object.
  [[nodiscard]] void* getObject(std::uint32_t index) const;

  /// Returns true with a read lock, or without one while a writer holds the objects; false if a
  /// writer interfered. `taken` reports whether there is a lock to release.
  [[nodiscard]] bool lockForReading(bool& taken);
  void releaseRead() noexcept { container_->readLocks.fetch_sub(1); }

 private:
  std::uint32_t objectCount_;
  ObjectDetails details_;
  std::unique_ptr<ObjectContainer> container_;
};

}  // namespace Kelbor

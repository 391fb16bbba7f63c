#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "metadata/metadata_version.hpp"

namespace Kelbor {
class DataManager;
}

namespace morvex {

/// Appends to a nested block and keeps the version at its start. Borrows the vector, which must
/// outlive it.
class Serializer {
 public:
  /// Grows a shorter vector to the 12 bytes of version 0.0.0.
  Serializer(Kelbor::DataManager* context, std::vector<std::byte>& bytes);

  void writeI32(std::int32_t value);
  void writeU32(std::uint32_t value);
  void writeU64(std::uint64_t value);
  void writeF64(double value);
  void writeU8(std::uint8_t value);

  /// Call before writing a value that readers below `version` don't understand: the block then
  /// states at least that version.
  void requireVersion(const MetadataVersion& version);

  [[nodiscard]] Kelbor::DataManager* context() const noexcept { return context_; }
  [[nodiscard]] const MetadataVersion& version() const noexcept { return version_; }

 private:
  template <class T>
  void append(T value);

  Kelbor::DataManager* context_;
  std::vector<std::byte>* bytes_;
  MetadataVersion version_;
};

}  // namespace morvex

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "metadata/class_creators.hpp"
#include "metadata/metadata_version.hpp"

namespace Kelbor {
class DataManager;
}

namespace morvex {

/// Read cursor over a nested block, such as the class stream of a recipe or a parameter block,
/// that begins with its version. Borrows the vector, which must outlive it unchanged. A copy reads
/// the same bytes at its own position. Every read that would pass the end raises InternalError.
class Deserializer {
 public:
  /// `context` may be null and is only passed on. Reads the version; a block of fewer than 12
  /// bytes has version 0.0.0. The position is 12 in both cases, so that a short block fails at
  /// the first read that asks for data, not here.
  Deserializer(Kelbor::DataManager* context, const std::vector<std::byte>& bytes);
  Deserializer(Kelbor::DataManager* context, std::vector<std::byte>&& bytes) = delete;

  [[nodiscard]] std::int32_t readI32();
  [[nodiscard]] std::uint32_t readU32();
  [[nodiscard]] std::uint64_t readU64();
  [[nodiscard]] double readF64();
  [[nodiscard]] std::uint8_t readU8();
  /// `u64` length and that many bytes, all of which are kept.
  [[nodiscard]] std::string readText();
  /// `u64` count and that many bytes.
  [[nodiscard]] std::vector<std::byte> readBytes();
  /// `u64` count and that many `u32`.
  [[nodiscard]] std::vector<std::uint32_t> readU32Vector();
  /// `u64` count of items that follow, each of at least `smallestItem` bytes (at least 1).
  [[nodiscard]] std::uint64_t readCount(std::size_t smallestItem);

  [[nodiscard]] Kelbor::DataManager* context() const noexcept { return context_; }
  [[nodiscard]] std::uint64_t position() const noexcept { return position_; }
  [[nodiscard]] const MetadataVersion& version() const noexcept { return version_; }

  /// The accepted tags; borrowed. Set by the code that reads objects from the stream.
  const ClassCreators* classCreators = nullptr;
  /// Number of blocks of wrapped classes around this one; bounds the nesting.
  unsigned nesting = 0;

 private:
  [[nodiscard]] std::span<const std::byte> rest() const noexcept;
  std::span<const std::byte> take(std::uint64_t count);
  template <class T>
  T readValue();

  Kelbor::DataManager* context_;
  const std::vector<std::byte>* bytes_;
  std::uint64_t position_;
  MetadataVersion version_;
};

}  // namespace morvex

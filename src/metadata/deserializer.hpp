#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "metadata/metadata_version.hpp"

namespace Kelbor {
class DataManager;
}

namespace morvex {

class Deserializer;
class ProcedureFactory;

/// Makes an object of one class from what follows its tag in the stream. Callers of a creator
/// include the factory's header; this one does without.
using ClassCreator = std::unique_ptr<ProcedureFactory> (*)(Deserializer&);
/// Creators by class-type tag.
using ClassCreators = std::map<std::int32_t, ClassCreator>;

/// Read cursor over a nested block, such as the class stream of a recipe or a parameter block,
/// that begins with its version. Borrows the vector, which must outlive it and keep its bytes. A
/// copy reads the same bytes at a position of its own. Every read that would pass the end raises
/// InternalError.
class Deserializer {
 public:
  /// `context` may be null and is only passed on. Takes the version; a block of fewer than 12
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

  /// Which tags are accepted; set by the one who reads objects from the stream, and borrowed.
  const ClassCreators* classCreators = nullptr;
  /// How many blocks of wrapped classes this one lies within.
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

/// Appends to a nested block and keeps the version at its start. Borrows the vector, which must
/// outlive it.
class Serializer {
 public:
  /// Grows the vector to the 12 bytes of version 0.0.0 where it is shorter.
  Serializer(Kelbor::DataManager* context, std::vector<std::byte>& bytes);

  void writeI32(std::int32_t value);
  void writeU32(std::uint32_t value);
  void writeU64(std::uint64_t value);
  void writeF64(double value);
  void writeU8(std::uint8_t value);

  /// To be called before a value that a reader below `version` would not understand: the block
  /// then states at least that version.
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

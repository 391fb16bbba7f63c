#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/provider.hpp"
#include "sdf/sdf_file.hpp"

namespace Kelbor::MathModule {

using Bytes = std::vector<std::byte>;

/// Writes the container's bytes field by field, so that tests fix the layout apart from the code
/// that is tested.
class ByteWriter {
 public:
  ByteWriter& u8(char value);
  ByteWriter& u32(std::uint32_t value);
  ByteWriter& u64(std::uint64_t value);
  ByteWriter& text(std::string_view value);
  ByteWriter& raw(const Bytes& value);
  ByteWriter& fields(std::uint64_t field1, std::uint64_t field2, std::uint64_t field3);
  /// A table's record: type, name, fields.
  ByteWriter& record(char type, std::string_view name, std::uint64_t field1, std::uint64_t field2,
                     std::uint64_t field3);

  [[nodiscard]] const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

/// Header, payload, table region and trailer with a root table stored plainly at the region's
/// start. `flavour` has four characters.
[[nodiscard]] Bytes containerOf(const Bytes& payload, const Bytes& rootTable,
                                std::uint32_t version = 106,
                                std::string_view flavour = std::string_view("\0\0\0\0", 4));
/// The same with any table region and root fields.
[[nodiscard]] Bytes containerOf(const Bytes& payload, const Bytes& region, const Bytes& rootFields,
                                std::uint32_t version, std::string_view flavour);

[[nodiscard]] Bytes bytesOf(std::string_view text);
/// `count` bytes that zlib can't shorten, the first of them 1.
[[nodiscard]] Bytes noise(std::size_t count);
/// `count` bytes that shrink a lot.
[[nodiscard]] Bytes pattern(std::size_t count);
[[nodiscard]] Bytes deflated(const Bytes& plain);
[[nodiscard]] Bytes joined(const Bytes& first, const Bytes& second);

/// A directory that goes with its test.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] std::string path(std::string_view name) const;
  /// Writes a file and returns its path.
  std::string put(std::string_view name, const Bytes& content) const;
  [[nodiscard]] Bytes get(std::string_view name) const;

 private:
  std::filesystem::path root_;
};

/// A provider that holds a copy of the bytes.
[[nodiscard]] std::unique_ptr<DataProvider> sourceOf(DataManager& manager, const Bytes& content);
/// All bytes of a provider, made on demand.
[[nodiscard]] Bytes contentOf(DataProvider& provider);
/// A whole dataset; throws where it can't be read. The dataset must exist.
[[nodiscard]] Bytes readAll(SdfFile& file, const std::string& group, const std::string& name);

}  // namespace Kelbor::MathModule

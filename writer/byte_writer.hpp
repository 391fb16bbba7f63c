#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "metadata/metadata_version.hpp"

namespace morvex::Writer {

using Bytes = std::vector<std::byte>;

/// Appends values packed and little-endian, as every record of a file stores them.
class ByteWriter {
 public:
  ByteWriter() = default;
  /// Begins with a version triple, as records and nested blocks do.
  explicit ByteWriter(const MetadataVersion& version) {
    u32(version.major).u32(version.minor).u32(version.patch);
  }

  ByteWriter& u8(std::uint8_t value) { return put(value); }
  ByteWriter& u32(std::uint32_t value) { return put(value); }
  ByteWriter& i32(std::int32_t value) { return put(value); }
  ByteWriter& u64(std::uint64_t value) { return put(value); }
  ByteWriter& f32(float value) { return put(value); }
  ByteWriter& f64(double value) { return put(value); }

  /// The elements one after the other, without a count.
  template <class T>
  ByteWriter& array(const std::vector<T>& values) {
    return raw(std::as_bytes(std::span(values)));
  }
  /// One byte each, 0 or 1.
  ByteWriter& bools(const std::vector<bool>& values) {
    for (const bool value : values) u8(value ? 1 : 0);
    return *this;
  }
  ByteWriter& raw(std::span<const std::byte> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  /// The characters alone.
  ByteWriter& text(std::string_view text) { return raw(std::as_bytes(std::span(text))); }
  /// `u64` length and the characters.
  ByteWriter& countedText(std::string_view value) { return u64(value.size()).text(value); }
  /// A field of `width` bytes, filled up with zeros. std::invalid_argument for a longer text.
  ByteWriter& fixedText(std::string_view value, std::size_t width) {
    if (value.size() > width) throw std::invalid_argument("Text is wider than its field");
    text(value);
    bytes_.resize(bytes_.size() + width - value.size());
    return *this;
  }

  [[nodiscard]] const Bytes& bytes() const noexcept { return bytes_; }
  [[nodiscard]] Bytes take() noexcept { return std::move(bytes_); }

 private:
  template <class T>
  ByteWriter& put(T value) {
    return raw(std::as_bytes(std::span(&value, 1)));
  }

  Bytes bytes_;
};

}  // namespace morvex::Writer

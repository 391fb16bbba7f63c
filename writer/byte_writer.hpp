#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "metadata/metadata_version.hpp"

namespace morvex::Writer {

using Bytes = std::vector<std::byte>;

/// Appends values packed and little-endian, the form of every record of a file.
class ByteWriter {
 public:
  ByteWriter() = default;
  /// Begins with a version triple, as records and nested blocks do.
  explicit ByteWriter(const MetadataVersion& version) {
    u32(version.major).u32(version.minor).u32(version.patch);
  }

  ByteWriter& u8(std::uint8_t value) { return u8({value}); }
  ByteWriter& u32(std::uint32_t value) { return u32({value}); }
  ByteWriter& i32(std::int32_t value) { return i32({value}); }
  ByteWriter& u64(std::uint64_t value) { return u64({value}); }
  ByteWriter& f32(float value) { return f32({value}); }
  ByteWriter& f64(double value) { return f64({value}); }

  ByteWriter& u8(std::initializer_list<std::uint8_t> values) { return put(values); }
  ByteWriter& u32(std::initializer_list<std::uint32_t> values) { return put(values); }
  ByteWriter& i32(std::initializer_list<std::int32_t> values) { return put(values); }
  ByteWriter& u64(std::initializer_list<std::uint64_t> values) { return put(values); }
  ByteWriter& f32(std::initializer_list<float> values) { return put(values); }
  ByteWriter& f64(std::initializer_list<double> values) { return put(values); }

  /// The elements in order, without a count.
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
    // One by one: GCC 12 takes an inlined insertion of nothing for a copy past the block.
    std::ranges::copy(bytes, std::back_inserter(bytes_));
    return *this;
  }
  /// The characters, without length or zero.
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
  ByteWriter& put(std::initializer_list<T> values) {
    return raw(std::as_bytes(std::span(values)));
  }

  Bytes bytes_;
};

}  // namespace morvex::Writer

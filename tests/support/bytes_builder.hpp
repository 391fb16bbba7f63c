#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

/// Builds a record value by value, packed and little-endian, as a file stores it.
class BytesBuilder {
 public:
  BytesBuilder() = default;
  BytesBuilder(std::uint32_t major, std::uint32_t minor, std::uint32_t patch) {
    u32({major, minor, patch});
  }

  BytesBuilder& u8(std::initializer_list<std::uint8_t> values) { return append(values); }
  BytesBuilder& u32(std::initializer_list<std::uint32_t> values) { return append(values); }
  BytesBuilder& i32(std::initializer_list<std::int32_t> values) { return append(values); }
  BytesBuilder& u64(std::initializer_list<std::uint64_t> values) { return append(values); }
  BytesBuilder& f32(std::initializer_list<float> values) { return append(values); }
  BytesBuilder& f64(std::initializer_list<double> values) { return append(values); }

  BytesBuilder& text(std::string_view text) {
    for (const char c : text) bytes_.push_back(static_cast<std::byte>(c));
    return *this;
  }

  /// A field of `width` bytes, filled up with zeros; the text must fit.
  BytesBuilder& fixedText(std::string_view value, std::size_t width) {
    text(value);
    bytes_.resize(bytes_.size() + width - value.size());
    return *this;
  }

  /// `count` words first, first + 1, ...
  BytesBuilder& rising(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) u32({first + i});
    return *this;
  }

  [[nodiscard]] const std::vector<std::byte>& bytes() const { return bytes_; }

 private:
  template <class T>
  BytesBuilder& append(std::initializer_list<T> values) {
    for (const std::byte b : std::as_bytes(std::span(values))) bytes_.push_back(b);
    return *this;
  }

  std::vector<std::byte> bytes_;
};

}  // namespace morvex

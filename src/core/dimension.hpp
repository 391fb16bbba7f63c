#pragma once

#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "core/element_type.hpp"

namespace Kelbor {

/// The element type and shape of a provider's content. The element count is the product of the
/// extents, 1 for rank 0, and is computed once.
class DataDimension {
 public:
  /// Most shapes have one axis, which needs no allocation.
  using Sizes = boost::container::small_vector<std::uint64_t, 1>;

  /// Rank 0, one element of type "<unknown>".
  DataDimension() = default;
  /// All constructors raise std::length_error if the product exceeds 64 bits.
  DataDimension(DataType type, std::span<const std::uint64_t> sizes);
  DataDimension(DataType type, std::initializer_list<std::uint64_t> sizes);
  /// `rank` axes of the same extent.
  DataDimension(DataType type, std::size_t rank, std::uint64_t extent);

  void setDataType(DataType type) noexcept { dataType_ = type; }
  [[nodiscard]] DataType getDataType() const noexcept { return dataType_; }
  [[nodiscard]] std::span<const std::uint64_t> getSizes() const noexcept {
    return {sizes_.data(), sizes_.size()};
  }
  [[nodiscard]] std::uint64_t getNumberOfElements() const noexcept { return elementCount_; }
  /// Bytes of all elements. A type without a fixed size counts as 255 bytes per element.
  /// std::length_error if the product exceeds 64 bits.
  [[nodiscard]] std::uint64_t getByteSize() const;

 private:
  Sizes sizes_;
  std::uint64_t elementCount_ = 1;
  DataType dataType_;
};

}  // namespace Kelbor

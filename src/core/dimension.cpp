#include "core/dimension.hpp"

#include "core/checked.hpp"

namespace Kelbor {
namespace {

std::uint64_t product(std::span<const std::uint64_t> sizes) {
  std::uint64_t count = 1;
  for (const std::uint64_t extent : sizes) count = checkedProduct(count, extent);
  return count;
}

}  // namespace

DataDimension::DataDimension(DataType type, std::span<const std::uint64_t> sizes)
    : sizes_(sizes.begin(), sizes.end()), elementCount_(product(sizes)), dataType_(type) {}

DataDimension::DataDimension(DataType type, std::initializer_list<std::uint64_t> sizes)
    : DataDimension(type, std::span<const std::uint64_t>(sizes.begin(), sizes.size())) {}

DataDimension::DataDimension(DataType type, std::size_t rank, std::uint64_t extent)
    : sizes_(rank, extent), elementCount_(product(getSizes())), dataType_(type) {}

std::uint64_t DataDimension::getByteSize() const {
  return checkedProduct(elementCount_, dataType_.getSize());
}

}  // namespace Kelbor

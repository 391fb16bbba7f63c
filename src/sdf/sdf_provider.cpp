#include "sdf/sdf_provider.hpp"

#include <algorithm>
#include <cstring>

#include "inflate/limits.hpp"
#include "sdf/sdf_compression.hpp"
#include "sdf/sdf_file.hpp"

namespace Kelbor::MathModule {

SdfDataProvider::SdfDataProvider(const SdfObject& fields, std::uint64_t count, SdfFile& file,
                                 std::uint64_t offset)
    : DataProvider(file.getContext(), DataDimension(DataTypes::kUInt8, {count})),
      entry_(fields),
      file_(file),
      offset_(offset) {}

bool SdfDataProvider::prepareContent() {
  const std::uint64_t count = getDataDimension().getByteSize();
  std::span<std::byte> nothing;
  if (count == 0) return openTarget(0, nothing);
  if (entry_.field1 <= kMaxInlineSize) return readInline(count);
  return entry_.field3 == 0 ? readPlain(count) : readDeflated(count);
}

bool SdfDataProvider::readInline(std::uint64_t count) {
  const auto bytes = inlineBytes(entry_);
  std::span<std::byte> target;
  if (offset_ > bytes.size() || count > bytes.size() - offset_) return false;
  if (!openTarget(count, target)) return false;
  std::memcpy(target.data(), bytes.data() + offset_, target.size());
  return true;
}

bool SdfDataProvider::readPlain(std::uint64_t count) {
  std::span<std::byte> target;
  return hasPlainBytes(count) && openTarget(count, target) && readPiece(0, target);
}

bool SdfDataProvider::hasPieces() {
  const bool isPlain = entry_.field1 > kMaxInlineSize && entry_.field3 == 0;
  return isPlain && hasPlainBytes(getDataDimension().getByteSize());
}

bool SdfDataProvider::readPiece(std::uint64_t from, std::span<std::byte> target) {
  return file_.readStoredBytes(entry_.field2 + offset_ + from, target);
}

bool SdfDataProvider::hasPlainBytes(std::uint64_t count) {
  std::uint64_t position = 0;
  return !__builtin_add_overflow(entry_.field2, offset_, &position) &&
         file_.hasStoredBytes(position, count);
}

bool SdfDataProvider::readDeflated(std::uint64_t count) {
  std::uint64_t prefix = 0;
  if (__builtin_add_overflow(count, offset_, &prefix)) return false;
  std::span<std::byte> target;
  if (!file_.hasStoredBytes(entry_.field2, entry_.field3) ||
      !Inflate::isPlausibleSize(entry_.field3, prefix))
    return false;
  if (!openTarget(count, target)) return false;

  ByteBlock stored(static_cast<std::size_t>(entry_.field3));
  if (!file_.readStoredBytes(entry_.field2, stored.view())) return false;
  if (offset_ == 0) {
    const auto length = inflateStream(stored.view(), target);
    if (!length) return false;
    std::ranges::fill(target.subspan(static_cast<std::size_t>(*length)), std::byte{0});
    return true;
  }
  ByteBlock inflated(static_cast<std::size_t>(prefix));
  const auto length = inflateStream(stored.view(), inflated.view());
  if (length != prefix) return false;
  std::memcpy(target.data(), inflated.view().data() + offset_, target.size());
  return true;
}

bool SdfDataProvider::openTarget(std::uint64_t count, std::span<std::byte>& target) {
  if (!hasContainer()) allocateContainer();
  std::byte* data = getContainer()->getData();
  if (!data || getContainer()->size < count) return false;
  target = {data, static_cast<std::size_t>(count)};
  return true;
}

}  // namespace Kelbor::MathModule

#include "metadata/serializer.hpp"

#include <cstring>

namespace morvex {
namespace {

constexpr std::size_t kVersionSize = 12;

}  // namespace

Serializer::Serializer(Kelbor::DataManager* context, std::vector<std::byte>& bytes)
    : context_(context), bytes_(&bytes) {
  if (bytes.size() < kVersionSize) bytes.resize(kVersionSize);
}

void Serializer::writeI32(std::int32_t value) {
  append(value);
}

void Serializer::writeU32(std::uint32_t value) {
  append(value);
}

void Serializer::writeU64(std::uint64_t value) {
  append(value);
}

void Serializer::writeF64(double value) {
  append(value);
}

void Serializer::writeU8(std::uint8_t value) {
  append(value);
}

void Serializer::requireVersion(const MetadataVersion& version) {
  if (version <= version_) return;
  version_ = version;
  const std::uint32_t stored[3] = {version.major, version.minor, version.patch};
  static_assert(sizeof(stored) == kVersionSize);
  std::memcpy(bytes_->data(), stored, kVersionSize);
}

template <class T>
void Serializer::append(T value) {
  const auto* first = reinterpret_cast<const std::byte*>(&value);
  bytes_->insert(bytes_->end(), first, first + sizeof(T));
}

}  // namespace morvex

#include "metadata/deserializer.hpp"

#include <algorithm>
#include <cstring>

#include "metadata/record_fields.hpp"

namespace morvex {
namespace {

constexpr std::size_t kVersionSize = 12;

}  // namespace

Deserializer::Deserializer(Kelbor::DataManager* context, const std::vector<std::byte>& bytes)
    : context_(context), bytes_(&bytes), position_(kVersionSize) {
  if (bytes.size() < kVersionSize) return;
  RecordCursor cursor(bytes);
  version_ = readVersion(cursor);
}

std::int32_t Deserializer::readI32() {
  return readValue<std::int32_t>();
}

std::uint32_t Deserializer::readU32() {
  return readValue<std::uint32_t>();
}

std::uint64_t Deserializer::readU64() {
  return readValue<std::uint64_t>();
}

double Deserializer::readF64() {
  return readValue<double>();
}

std::uint8_t Deserializer::readU8() {
  return readValue<std::uint8_t>();
}

std::string Deserializer::readText() {
  const auto text = take(readU64());
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

std::vector<std::byte> Deserializer::readBytes() {
  const auto bytes = take(readU64());
  return {bytes.begin(), bytes.end()};
}

std::vector<std::uint32_t> Deserializer::readU32Vector() {
  const std::uint64_t count = readU64();
  RecordCursor cursor(rest());
  std::vector<std::uint32_t> values = readVector<std::uint32_t>(cursor, count);
  position_ += values.size() * sizeof(std::uint32_t);
  return values;
}

std::uint64_t Deserializer::readCount(std::size_t smallestItem) {
  const std::uint64_t count = readU64();
  return RecordCursor(rest()).checkCount(count, smallestItem);
}

std::span<const std::byte> Deserializer::rest() const noexcept {
  // The position of a short block is beyond its end.
  const std::span<const std::byte> all(*bytes_);
  return all.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(position_, all.size())));
}

std::span<const std::byte> Deserializer::take(std::uint64_t count) {
  const auto taken = RecordCursor(rest()).take(count);
  position_ += count;
  return taken;
}

template <class T>
T Deserializer::readValue() {
  T value;
  std::memcpy(&value, take(sizeof(T)).data(), sizeof(T));
  return value;
}

}  // namespace morvex

#include "container_bytes.hpp"

#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <stdexcept>

#include "core/scoped_access.hpp"

namespace Kelbor::MathModule {
namespace {

void appendLittleEndian(Bytes& bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::byte>(value >> (8 * i)));
}

}  // namespace

ByteWriter& ByteWriter::u8(char value) {
  bytes_.push_back(static_cast<std::byte>(value));
  return *this;
}

ByteWriter& ByteWriter::u32(std::uint32_t value) {
  appendLittleEndian(bytes_, value, 4);
  return *this;
}

ByteWriter& ByteWriter::u64(std::uint64_t value) {
  appendLittleEndian(bytes_, value, 8);
  return *this;
}

ByteWriter& ByteWriter::text(std::string_view value) {
  return raw(bytesOf(value));
}

ByteWriter& ByteWriter::raw(const Bytes& value) {
  bytes_.insert(bytes_.end(), value.begin(), value.end());
  return *this;
}

ByteWriter& ByteWriter::fields(std::uint64_t field1, std::uint64_t field2, std::uint64_t field3) {
  return u64(field1).u64(field2).u64(field3);
}

ByteWriter& ByteWriter::record(char type, std::string_view name, std::uint64_t field1,
                               std::uint64_t field2, std::uint64_t field3) {
  return u8(type).u64(name.size()).text(name).fields(field1, field2, field3);
}

Bytes containerOf(const Bytes& payload, const Bytes& rootTable, std::uint32_t version,
                  std::string_view flavour) {
  const std::uint64_t size = rootTable.size();
  return containerOf(payload, rootTable, ByteWriter().fields(size, 0, size).bytes(), version,
                     flavour);
}

Bytes containerOf(const Bytes& payload, const Bytes& region, const Bytes& rootFields,
                  std::uint32_t version, std::string_view flavour) {
  ByteWriter file;
  file.text("SDFv").u32(version).u64(20 + payload.size()).text(flavour);
  return file.raw(payload).raw(region).raw(rootFields).bytes();
}

Bytes bytesOf(std::string_view text) {
  Bytes bytes;
  for (const char character : text) bytes.push_back(static_cast<std::byte>(character));
  return bytes;
}

Bytes noise(std::size_t count) {
  std::mt19937 random(7);
  Bytes bytes(count);
  for (std::byte& value : bytes) value = static_cast<std::byte>(random());
  if (count > 0) bytes[0] = std::byte{1};
  return bytes;
}

Bytes pattern(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::byte>(i % 11);
  return bytes;
}

Bytes deflated(const Bytes& plain) {
  uLongf length = ::compressBound(plain.size());
  Bytes stored(length);
  const int result = ::compress2(reinterpret_cast<Bytef*>(stored.data()), &length,
                                 reinterpret_cast<const Bytef*>(plain.data()), plain.size(), 4);
  if (result != Z_OK) throw std::runtime_error("compress2");
  stored.resize(length);
  return stored;
}

Bytes joined(const Bytes& first, const Bytes& second) {
  return ByteWriter().raw(first).raw(second).bytes();
}

ScratchDirectory::ScratchDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "sdf_test_XXXXXX").string();
  if (!::mkdtemp(name.data())) throw std::runtime_error("mkdtemp");
  root_ = name;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

std::string ScratchDirectory::path(std::string_view name) const {
  return (root_ / name).string();
}

std::string ScratchDirectory::put(std::string_view name, const Bytes& content) const {
  std::ofstream file(path(name), std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(content.data()),
             static_cast<std::streamsize>(content.size()));
  if (!file) throw std::runtime_error("write");
  return path(name);
}

Bytes ScratchDirectory::get(std::string_view name) const {
  std::ifstream file(path(name), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return bytesOf(text);
}

std::unique_ptr<DataProvider> sourceOf(DataManager& manager, const Bytes& content) {
  auto source = std::make_unique<DataProvider>(
      &manager, DataDimension(DataTypes::kUInt8, {std::uint64_t{content.size()}}));
  source->copyMemory(content.data(), content.size());
  return source;
}

Bytes contentOf(DataProvider& provider) {
  const ScopedConstDataAny access(&provider);
  return {access.bytes().begin(), access.bytes().end()};
}

Bytes readAll(SdfFile& file, const std::string& group, const std::string& name) {
  const auto provider = file.getDataProvider(group, name, 0, 0);
  if (!provider) throw std::runtime_error("no dataset " + group + "/" + name);
  return contentOf(*provider);
}

}  // namespace Kelbor::MathModule

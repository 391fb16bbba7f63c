#include "sdf/sdf_format.hpp"

#include <algorithm>
#include <cstring>

namespace Kelbor::MathModule {
namespace {

void append(std::vector<std::byte>& bytes, const void* source, std::size_t count) {
  const auto* first = static_cast<const std::byte*>(source);
  bytes.insert(bytes.end(), first, first + count);
}

}  // namespace

FileHeader readFileHeader(ContainerCursor& cursor) {
  FileHeader header;
  header.magic = cursor.read<std::array<char, 4>>();
  header.version = cursor.read<std::uint32_t>();
  header.tableOffset = cursor.read<std::uint64_t>();
  header.flavour = cursor.read<std::uint32_t>();
  return header;
}

SdfObject readSdfObject(ContainerCursor& cursor) {
  SdfObject fields;
  fields.field1 = cursor.read<std::uint64_t>();
  fields.field2 = cursor.read<std::uint64_t>();
  fields.field3 = cursor.read<std::uint64_t>();
  return fields;
}

TableRecord readTableRecord(ContainerCursor& cursor) {
  TableRecord record;
  record.type = cursor.read<char>();
  const std::uint64_t nameLength = cursor.readCount(1);
  record.name = textOf(cursor.take(nameLength));
  record.object = readSdfObject(cursor);
  return record;
}

void writeFileHeader(std::vector<std::byte>& bytes, const FileHeader& header) {
  append(bytes, header.magic.data(), header.magic.size());
  append(bytes, &header.version, sizeof header.version);
  writeNumber(bytes, header.tableOffset);
  append(bytes, &header.flavour, sizeof header.flavour);
}

void writeSdfObject(std::vector<std::byte>& bytes, const SdfObject& fields) {
  writeNumber(bytes, fields.field1);
  writeNumber(bytes, fields.field2);
  writeNumber(bytes, fields.field3);
}

void writeTableRecord(std::vector<std::byte>& bytes, char type, std::string_view name,
                      const SdfObject& fields) {
  append(bytes, &type, 1);
  writeNumber(bytes, name.size());
  append(bytes, name.data(), name.size());
  writeSdfObject(bytes, fields);
}

void writeNumber(std::vector<std::byte>& bytes, std::uint64_t number) {
  append(bytes, &number, sizeof number);
}

std::uint32_t flavourOf(std::string_view text) {
  std::uint32_t flavour = 0;
  if (!text.empty()) std::memcpy(&flavour, text.data(), std::min(text.size(), sizeof flavour));
  return flavour;
}

std::array<std::byte, kMaxInlineSize> inlineBytes(const SdfObject& fields) {
  std::array<std::byte, kMaxInlineSize> bytes;
  std::memcpy(bytes.data(), &fields.field2, sizeof fields.field2);
  std::memcpy(bytes.data() + sizeof fields.field2, &fields.field3, sizeof fields.field3);
  return bytes;
}

void setInlineBytes(SdfObject& fields, const std::array<std::byte, kMaxInlineSize>& bytes) {
  std::memcpy(&fields.field2, bytes.data(), sizeof fields.field2);
  std::memcpy(&fields.field3, bytes.data() + sizeof fields.field2, sizeof fields.field3);
}

}  // namespace Kelbor::MathModule

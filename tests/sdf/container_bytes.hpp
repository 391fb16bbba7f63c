#pragma once

#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/provider.hpp"
#include "core/scoped_access.hpp"
#include "sdf/sdf_file.hpp"
#include "writer/byte_writer.hpp"

/// The container's bytes field by field, so that tests fix the layout apart from the code that is
/// tested.
namespace Kelbor::MathModule {

using Bytes = std::vector<std::byte>;
using morvex::Writer::ByteWriter;

/// A table's record, or with the fields alone where a root table stands.
struct Record {
  char type;
  std::string_view name;
  std::uint64_t field1 = 0;
  std::uint64_t field2 = 0;
  std::uint64_t field3 = 0;
};

/// A dataset of at most 16 bytes, which stand in its record.
inline Record inlined(std::string_view name, std::string_view content) {
  std::uint64_t fields[2]{};
  std::memcpy(fields, content.data(), content.size());
  return {'D', name, content.size(), fields[0], fields[1]};
}

inline Bytes recordOf(const Record& record) {
  ByteWriter bytes;
  bytes.text({&record.type, 1}).u64({record.name.size()}).text(record.name);
  return bytes.u64({record.field1, record.field2, record.field3}).bytes();
}

inline Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

inline Bytes tableOf(std::initializer_list<Record> records) {
  Bytes table = ByteWriter().u64({records.size()}).bytes();
  for (const Record& record : records) table = joined(table, recordOf(record));
  return table;
}

/// Header, payload, table region and trailer; `root` are the fields of the root table. `flavour`
/// has four characters.
inline Bytes containerOf(const Bytes& payload, const Bytes& region, const Record& root,
                         std::uint32_t version = 106,
                         std::string_view flavour = std::string_view("\0\0\0\0", 4)) {
  ByteWriter header;
  header.text("SDFv").u32({version}).u64({20 + payload.size()}).text(flavour);
  const Bytes trailer = ByteWriter().u64({root.field1, root.field2, root.field3}).bytes();
  return joined(joined(header.bytes(), payload), joined(region, trailer));
}

/// The same with a root table that is stored plainly at the region's start.
inline Bytes containerOf(const Bytes& payload, const Bytes& rootTable) {
  return containerOf(payload, rootTable, {'G', "", rootTable.size(), 0, rootTable.size()});
}

inline Bytes bytesOf(std::string_view text) {
  return ByteWriter().text(text).bytes();
}

/// `count` bytes that zlib can't shorten, the first of them 1.
inline Bytes noise(std::size_t count) {
  std::mt19937 random(7);
  Bytes bytes(count);
  for (std::byte& value : bytes) value = static_cast<std::byte>(random());
  if (count > 0) bytes[0] = std::byte{1};
  return bytes;
}

/// `count` bytes that shrink a lot.
inline Bytes pattern(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::byte>(i % 11);
  return bytes;
}

inline Bytes deflated(const Bytes& plain) {
  uLongf length = ::compressBound(plain.size());
  Bytes stored(length);
  const int result = ::compress2(reinterpret_cast<Bytef*>(stored.data()), &length,
                                 reinterpret_cast<const Bytef*>(plain.data()), plain.size(), 4);
  if (result != Z_OK) throw std::runtime_error("compress2");
  stored.resize(length);
  return stored;
}

/// All bytes of a provider, made on demand.
inline Bytes contentOf(DataProvider& provider) {
  const ScopedConstDataAny access(&provider);
  return {access.bytes().begin(), access.bytes().end()};
}

/// A whole dataset, which must exist; throws where it can't be read.
inline Bytes readAll(SdfFile& file, const std::string& group, const std::string& name) {
  return contentOf(*file.getDataProvider(group, name, 0, 0));
}

/// Container files in a directory that goes with its test.
class ContainerTest : public ::testing::Test {
 protected:
  ContainerTest() {
    std::string name = (std::filesystem::temp_directory_path() / "sdf_test_XXXXXX").string();
    if (!::mkdtemp(name.data())) throw std::runtime_error("mkdtemp");
    directory_ = name;
  }
  ~ContainerTest() override { std::filesystem::remove_all(directory_); }

  [[nodiscard]] std::string path(std::string_view name = "file") const {
    return (directory_ / name).string();
  }
  void put(const Bytes& content, std::string_view name = "file") const {
    std::ofstream(path(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));
  }
  [[nodiscard]] Bytes stored() const {
    std::ifstream file(path(), std::ios::binary);
    return bytesOf(std::string(std::istreambuf_iterator<char>(file), {}));
  }
  std::unique_ptr<SdfFile> reader(std::string_view name = "file") {
    return std::make_unique<SdfFile>(&manager_, path(name), false, "", false);
  }
  std::unique_ptr<SdfFile> reader(const Bytes& content) {
    put(content);
    return reader();
  }
  std::unique_ptr<SdfFile> writer(bool compress = false) {
    return std::make_unique<SdfFile>(&manager_, path(), true, "", compress);
  }
  std::unique_ptr<DataProvider> sourceOf(const Bytes& content) {
    auto source = std::make_unique<DataProvider>(
        &manager_, DataDimension(DataTypes::kUInt8, {std::uint64_t{content.size()}}));
    source->copyMemory(content.data(), content.size());
    return source;
  }
  int write(SdfFile& file, const std::string& group, const std::string& name, const Bytes& content,
            std::uint64_t* storedSize = nullptr) {
    return file.writeDataset(group, name, *sourceOf(content), storedSize);
  }

  DataManager manager_;
  std::filesystem::path directory_;
};

}  // namespace Kelbor::MathModule

#include "stored_streams.hpp"

#include <zlib.h>

#include <cstring>
#include <memory>
#include <stdexcept>

#include "core/data_manager.hpp"
#include "core/scoped_access.hpp"
#include "sdf/sdf_file.hpp"

#if MORVEX_BENCH_IGZIP
#include <isa-l/igzip_lib.h>
#endif

namespace morvex::Bench {
namespace {

using Kelbor::DataManager;
using Kelbor::ScopedConstData;
using Kelbor::MathModule::SdfFile;

Bytef* zlibBytes(const std::byte* bytes) {
  return reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes));
}

/// Inflates and discards the bytes, to learn the size; 0 for an incomplete stream.
std::size_t inflatedSizeOf(const std::vector<std::byte>& stream) {
  z_stream z{};
  if (::inflateInit(&z) != Z_OK) throw std::bad_alloc();
  std::vector<std::byte> piece(1U << 20);
  z.next_in = zlibBytes(stream.data());
  z.avail_in = static_cast<uInt>(stream.size());
  int code = Z_OK;
  while (code == Z_OK) {
    z.next_out = zlibBytes(piece.data());
    z.avail_out = static_cast<uInt>(piece.size());
    code = ::inflate(&z, Z_NO_FLUSH);
  }
  const std::size_t size = code == Z_STREAM_END ? z.total_out : 0;
  ::inflateEnd(&z);
  return size;
}

/// A dataset is a recipe number, a parameter number, and a chunk table: the number of chunks, their
/// stored sizes, their value counts, then the chunks.
void addStreams(std::span<const std::byte> dataset, std::vector<StoredStream>& streams) {
  constexpr std::size_t kHeader = 8;
  const auto word = [&](std::uint64_t index) {
    std::uint64_t value = 0;
    std::memcpy(&value, dataset.data() + kHeader + index * 8, 8);
    return value;
  };
  if (dataset.size() < kHeader + 8) return;
  const std::uint64_t count = word(0);
  if (count > (dataset.size() - kHeader - 8) / 16) return;
  std::uint64_t at = kHeader + 8 + 16 * count;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::uint64_t size = word(1 + i);
    if (size > dataset.size() - at) return;
    const auto chunk = dataset.subspan(at, size);
    at += size;
    StoredStream stream{{chunk.begin(), chunk.end()}};
    stream.inflatedSize = inflatedSizeOf(stream.bytes);
    if (stream.inflatedSize != 0) streams.push_back(std::move(stream));
  }
}

template <class Visit>
void walk(SdfFile& file, const std::string& group, const Visit& visit) {
  std::vector<std::string> groups;
  std::vector<std::string> datasets;
  file.listEntries(group, groups, datasets);
  visit(group, groups, datasets);
  for (const std::string& name : groups) walk(file, group + name + "/", visit);
}

}  // namespace

std::vector<StoredStream> storedStreams(const std::string& path) {
  DataManager manager;
  SdfFile file(&manager, path, false, "", false);
  std::vector<StoredStream> streams;
  walk(file, "/", [&](const std::string& group, const auto&, const auto& datasets) {
    for (const std::string& name : datasets) {
      if (!group.starts_with("/variable/") && !name.starts_with("coordinates_")) continue;
      const auto provider = file.getDataProvider(group, name, 0, 0);
      const ScopedConstData<std::uint8_t> bytes(provider.get());
      addStreams(std::as_bytes(bytes.view()), streams);
    }
  });
  return streams;
}

std::uint64_t countEntries(const std::string& path) {
  DataManager manager;
  SdfFile file(&manager, path, false, "", false);
  std::uint64_t count = 0;
  walk(file, "/", [&](const auto&, const auto& groups, const auto& datasets) {
    count += groups.size() + datasets.size();
  });
  return count;
}

void inflateWithZlib(const std::vector<StoredStream>& streams, std::vector<std::byte>& target) {
  for (const StoredStream& stream : streams) {
    z_stream z{};
    if (::inflateInit(&z) != Z_OK) throw std::bad_alloc();
    z.next_in = zlibBytes(stream.bytes.data());
    z.avail_in = static_cast<uInt>(stream.bytes.size());
    z.next_out = zlibBytes(target.data());
    z.avail_out = static_cast<uInt>(target.size());
    const int code = ::inflate(&z, Z_FINISH);
    ::inflateEnd(&z);
    if (code != Z_STREAM_END) throw std::runtime_error("zlib could not inflate a stream");
  }
}

#if MORVEX_BENCH_IGZIP
bool hasIgzip() {
  return true;
}

void inflateWithIgzip(const std::vector<StoredStream>& streams, std::vector<std::byte>& target) {
  const auto state = std::make_unique<inflate_state>();
  for (const StoredStream& stream : streams) {
    ::isal_inflate_init(state.get());
    state->crc_flag = ISAL_ZLIB;
    state->next_in = zlibBytes(stream.bytes.data());
    state->avail_in = static_cast<std::uint32_t>(stream.bytes.size());
    state->next_out = zlibBytes(target.data());
    state->avail_out = static_cast<std::uint32_t>(target.size());
    if (::isal_inflate_stateless(state.get()) != ISAL_DECOMP_OK) {
      throw std::runtime_error("igzip could not inflate a stream");
    }
  }
}
#else
bool hasIgzip() {
  return false;
}
void inflateWithIgzip(const std::vector<StoredStream>&, std::vector<std::byte>&) {}
#endif

}  // namespace morvex::Bench

#include "writer/streams.hpp"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <type_traits>
#include <unordered_map>

namespace morvex::Writer {
namespace {

template <class T>
using Unsigned = std::make_unsigned_t<T>;

/// The difference of two values, given as unsigned: ~2d is -2d - 1 without overflow.
template <class T>
Unsigned<T> zigzag(Unsigned<T> difference) {
  using U = Unsigned<T>;
  const bool isNegative = (difference >> (8 * sizeof(U) - 1)) != 0;
  const U doubled = static_cast<U>(difference << 1);
  return isNegative ? static_cast<U>(~doubled) : doubled;
}

/// What is stored for each value. Without chaining `previous` stays 0: each value is its own
/// difference.
template <class T>
std::vector<Unsigned<T>> storedWords(std::span<const T> values, Chaining chaining) {
  using U = Unsigned<T>;
  std::vector<U> words;
  words.reserve(values.size());
  U previous = 0;
  for (const T value : values) {
    const U bits = static_cast<U>(value);
    words.push_back(zigzag<T>(static_cast<U>(bits - previous)));
    if (chaining == Chaining::kDifferences) previous = bits;
  }
  return words;
}

/// Neighbours mostly differ in their low bytes alone: planes put the equal high bytes in a row,
/// which deflate compresses well.
template <class U>
Bytes planesOf(std::span<const U> words) {
  Bytes planes;
  planes.reserve(words.size_bytes());
  for (std::size_t p = 0; p < sizeof(U); ++p) {
    for (const U word : words) planes.push_back(static_cast<std::byte>(word >> (8 * p)));
  }
  return planes;
}

/// A zlib stream that grows piece by piece.
class Deflater {
 public:
  Deflater() {
    if (::deflateInit(&stream_, Z_DEFAULT_COMPRESSION) != Z_OK) {
      throw std::runtime_error("zlib can't begin a stream");
    }
  }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  ~Deflater() { ::deflateEnd(&stream_); }

  /// Takes all of `input`; `flush` is one of zlib's, Z_FINISH for the last piece.
  void add(std::span<const std::byte> input, int flush) {
    // zlib reads through this pointer only.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(input.data()));
    stream_.avail_in = static_cast<uInt>(input.size());
    std::byte room[16384];
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(room);
      stream_.avail_out = sizeof(room);
      ::deflate(&stream_, flush);
      output_.insert(output_.end(), room, room + (sizeof(room) - stream_.avail_out));
    } while (stream_.avail_out == 0);
  }

  [[nodiscard]] std::size_t size() const noexcept { return output_.size(); }
  [[nodiscard]] Bytes take() noexcept { return std::move(output_); }

 private:
  z_stream stream_{};
  Bytes output_;
};

/// Bytes of input that readers offer inflate for one plane chunk; the formula is the format's.
std::size_t inputBound(std::size_t chunkBytes) {
  return static_cast<std::size_t>(static_cast<double>(chunkBytes) * 1.002) + 12;
}

/// Bytes that may lie between a reader's position and the first byte of a chunk's block: the end of
/// the block before, and bits that the deflater still holds.
constexpr std::size_t kBlockSlack = 4;

}  // namespace

template <class T>
Bytes planeStream(std::span<const T> values, Chaining chaining, std::uint32_t planeChunkBytes) {
  using U = Unsigned<T>;
  const std::vector<U> words = storedWords(values, chaining);
  const std::size_t valuesPerChunk = std::max<std::size_t>(planeChunkBytes / sizeof(U), 1);
  Deflater deflater;
  for (std::size_t begin = 0; begin < words.size(); begin += valuesPerChunk) {
    const std::size_t count = std::min(valuesPerChunk, words.size() - begin);
    const std::size_t sizeBefore = deflater.size();
    // Z_BLOCK ends the block without padding to whole bytes: readers inflate across the seam.
    deflater.add(planesOf(std::span(words).subspan(begin, count)), Z_BLOCK);
    if (deflater.size() - sizeBefore + kBlockSlack > inputBound(valuesPerChunk * sizeof(U))) {
      throw std::logic_error("Plane chunk outgrows the input that readers offer for it");
    }
  }
  deflater.add({}, Z_FINISH);
  return deflater.take();
}

template <class T>
Bytes windowStream(std::span<const T> values) {
  if (values.empty()) return {};
  return zlibStream(
      planesOf(std::span<const Unsigned<T>>(storedWords(values, Chaining::kDifferences))));
}

template <class T>
Bytes bytePlanes(std::span<const T> values) {
  const std::vector<Unsigned<T>> words(values.begin(), values.end());
  return planesOf(std::span(words));
}

Bytes zlibStream(std::span<const std::byte> bytes) {
  Deflater deflater;
  deflater.add(bytes, Z_FINISH);
  return deflater.take();
}

Bytes chunkTable(std::span<const Bytes> chunks, std::span<const std::uint64_t> valueCounts) {
  ByteWriter out;
  out.u64(chunks.size());
  for (const Bytes& chunk : chunks) out.u64(chunk.size());
  for (const std::uint64_t count : valueCounts) out.u64(count);
  for (const Bytes& chunk : chunks) out.raw(chunk);
  return out.take();
}

std::vector<std::uint64_t> shares(std::uint64_t count, std::uint64_t parts) {
  parts = std::min(parts, count);
  std::vector<std::uint64_t> result;
  // Bounds instead of sizes are rounded, so that the shares add up to `count`.
  for (std::uint64_t i = 0; i < parts; ++i) {
    result.push_back(count * (i + 1) / parts - count * i / parts);
  }
  return result;
}

template <class T>
Bytes chunkedStream(std::span<const T> values, Chaining chaining, const StreamLayout& layout) {
  const std::vector<std::uint64_t> counts = shares(values.size(), layout.tableChunks);
  std::vector<Bytes> chunks;
  for (const std::uint64_t count : counts) {
    chunks.push_back(planeStream(values.first(count), chaining, layout.planeChunkBytes));
    values = values.subspan(count);
  }
  return chunkTable(chunks, counts);
}

IdWindowPayloads idWindowPayloads(std::span<const std::int32_t> ids, std::uint64_t tableChunks) {
  const std::vector<std::uint64_t> counts = shares(ids.size(), tableChunks);
  std::vector<Bytes> referenceChunks;
  std::vector<Bytes> newIdChunks;
  for (const std::uint64_t count : counts) {
    std::vector<std::int32_t> references;
    std::vector<std::int32_t> newIds;
    std::unordered_map<std::int32_t, std::size_t> lastPosition;
    for (std::size_t i = 0; i < count; ++i) {
      const auto [last, isNew] = lastPosition.try_emplace(ids[i], i);
      references.push_back(static_cast<std::int32_t>(i - last->second));  // 0 for a new id
      if (isNew) newIds.push_back(ids[i]);
      last->second = i;
    }
    // Distances are stored plain and new ids as differences, since only the latter mostly rise.
    referenceChunks.push_back(zlibStream(bytePlanes(std::span<const std::int32_t>(references))));
    newIdChunks.push_back(windowStream(std::span<const std::int32_t>(newIds)));
    ids = ids.subspan(count);
  }
  return {chunkTable(referenceChunks, counts), chunkTable(newIdChunks, counts)};
}

#define MORVEX_INSTANTIATE(T)                                              \
  template Bytes planeStream(std::span<const T>, Chaining, std::uint32_t); \
  template Bytes windowStream(std::span<const T>);                         \
  template Bytes bytePlanes(std::span<const T>);                           \
  template Bytes chunkedStream(std::span<const T>, Chaining, const StreamLayout&);
MORVEX_INSTANTIATE(std::int16_t)
MORVEX_INSTANTIATE(std::int32_t)
MORVEX_INSTANTIATE(std::uint32_t)
MORVEX_INSTANTIATE(std::int64_t)
MORVEX_INSTANTIATE(std::uint64_t)
#undef MORVEX_INSTANTIATE

}  // namespace morvex::Writer

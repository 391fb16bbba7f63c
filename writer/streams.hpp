#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "writer/byte_writer.hpp"

/// The streams in which integers are stored, from single values to whole payloads.
///
/// Planes: byte p (0 is the lowest) of value i in a group of n values is stored at p x n + i.
/// Zigzag: a signed d is stored as 2d if it isn't negative, else as -2d - 1. All arithmetic wraps
/// in the width of the type.
namespace morvex::Writer {

/// How a payload's values are divided.
struct StreamLayout {
  /// Bytes of a plane chunk, a group of values whose planes are stored together. A number below the
  /// width of a value means one value.
  std::uint32_t planeChunkBytes = 65536;
  /// Chunks of the table, each a stream that one thread can decode; never more than values.
  std::uint64_t tableChunks = 1;
};

/// Whether values are stored as differences to the value before.
enum class Chaining { kDifferences, kNone };

/// One zlib stream of plane chunks with zigzag. Each plane chunk begins a deflate block, so that
/// one call of inflate with the format's bound of input yields it whole. std::logic_error if one
/// exceeds the bound. All templates here are for Int16, Int32, UInt32, Int64 and UInt64.
template <class T>
[[nodiscard]] Bytes planeStream(std::span<const T> values, Chaining chaining,
                                std::uint32_t planeChunkBytes = 65536);

/// One zlib stream with all values as one plane group, as zigzag differences; no bytes for no
/// values.
template <class T>
[[nodiscard]] Bytes windowStream(std::span<const T> values);

/// The planes of all values as they are, not deflated.
template <class T>
[[nodiscard]] Bytes bytePlanes(std::span<const T> values);

/// A zlib stream of plain bytes.
[[nodiscard]] Bytes zlibStream(std::span<const std::byte> bytes);
/// The values in memory order as one zlib stream; no bytes for no values.
template <class T>
[[nodiscard]] Bytes plainStream(const std::vector<T>& values) {
  return values.empty() ? Bytes{} : zlibStream(std::as_bytes(std::span(values)));
}

/// Number of chunks, stored sizes in bytes, numbers of values, then the chunks.
[[nodiscard]] Bytes chunkTable(std::span<const Bytes> chunks,
                               std::span<const std::uint64_t> valueCounts);
/// `count` in at most `parts` shares of about the same size, none of them empty.
[[nodiscard]] std::vector<std::uint64_t> shares(std::uint64_t count, std::uint64_t parts);

/// A payload: a chunk table over plane streams.
template <class T>
[[nodiscard]] Bytes chunkedStream(std::span<const T> values, Chaining chaining,
                                  const StreamLayout& layout = {});

/// Ids stored as two payloads: distances back to the same id (0 for a new one), and the new ids.
struct IdWindowPayloads {
  Bytes references;
  Bytes newIds;
};
/// Each chunk of the table begins a new window. Both tables count the values that a chunk yields.
[[nodiscard]] IdWindowPayloads idWindowPayloads(std::span<const std::int32_t> ids,
                                                std::uint64_t tableChunks = 1);

}  // namespace morvex::Writer

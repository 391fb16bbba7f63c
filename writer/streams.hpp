#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "writer/byte_writer.hpp"

/// The streams in which integers are stored, from single values to whole payloads.
///
/// Planes: of a group of n values of W bytes, byte p of value i (0 is the lowest) stands at p x n +
/// i. Zigzag: a signed d is stored as 2d where it isn't negative, else as -2d - 1. All arithmetic
/// wraps in the width of the type.
namespace morvex::Writer {

/// What a payload's values are cut into.
struct StreamLayout {
  /// Bytes of a plane chunk: a group of values whose planes stand together. Below the width of a
  /// value it means one value.
  std::uint32_t planeChunkBytes = 65536;
  /// Chunks of the table, each a stream that a thread can decode alone; never more than values.
  std::uint64_t tableChunks = 1;
};

/// Whether values are stored as differences to the value before.
enum class Chaining { differences, none };

/// One zlib stream of plane chunks with zigzag. Each plane chunk begins a deflate block, so that
/// one call of inflate with the format's bound of input yields it whole. std::logic_error if one
/// doesn't fit the bound. Like all templates below for Int16, Int32, UInt32, Int64 and UInt64.
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

/// Ids stored as two payloads: how far back the same id stood (0 for a new one), and the new ids.
struct IdWindowPayloads {
  Bytes references;
  Bytes newIds;
};
/// Windows begin anew in each chunk of the table. Both tables count the values that a chunk yields.
[[nodiscard]] IdWindowPayloads idWindowPayloads(std::span<const std::int32_t> ids,
                                                std::uint64_t tableChunks = 1);

}  // namespace morvex::Writer

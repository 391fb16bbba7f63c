#pragma once

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "inflate/plane_chunks.hpp"
#include "inflate/zlib_stream.hpp"

namespace Kelbor::Inflate::Testing {

using Bytes = std::vector<std::byte>;

inline Bytef* zlibBytes(const std::byte* bytes) {
  return reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes));
}

inline Bytes randomBytes(std::size_t count, std::uint64_t seed) {
  std::mt19937_64 random(seed * 977 + count);
  Bytes bytes(count);
  for (std::byte& b : bytes) b = static_cast<std::byte>(random());
  return bytes;
}

/// Planes of smooth numbers: small bytes, then a jump, then a run.
inline Bytes planeBytes(std::size_t count, std::uint64_t seed) {
  Bytes bytes = randomBytes(count, seed);
  for (std::size_t i = 0; i < count; ++i) {
    if (i % 61 != 60) bytes[i] &= std::byte{15};
    if (i % 400 > 250) bytes[i] = std::byte{0};
  }
  return bytes;
}

/// One stream over `inflated`. With `pieceBytes`, what belongs to a piece is flushed after it, so
/// that the piece can be inflated from its own share of the stream.
inline Bytes deflated(const Bytes& inflated, std::size_t pieceBytes = 0,
                      const Bytes& dictionary = {}) {
  DeflateStream stream;
  z_stream& z = stream.get();
  if (!dictionary.empty()) {
    EXPECT_EQ(::deflateSetDictionary(&z, zlibBytes(dictionary.data()),
                                     static_cast<uInt>(dictionary.size())),
              Z_OK);
  }
  Bytes result(inflated.size() * 16 + 1000);
  z.next_out = zlibBytes(result.data());
  z.avail_out = static_cast<uInt>(result.size());
  const std::size_t piece = pieceBytes == 0 ? inflated.size() : pieceBytes;
  for (std::size_t at = 0; at < inflated.size(); at += piece) {
    z.next_in = zlibBytes(inflated.data() + at);
    z.avail_in = static_cast<uInt>(std::min(piece, inflated.size() - at));
    EXPECT_EQ(::deflate(&z, pieceBytes == 0 ? Z_NO_FLUSH : Z_SYNC_FLUSH), Z_OK);
  }
  EXPECT_EQ(::deflate(&z, Z_FINISH), Z_STREAM_END);
  return {result.begin(), result.end() - static_cast<std::ptrdiff_t>(z.avail_out)};
}

/// Keeps the planes that it is given.
class ByteSink final : public PlaneSink {
 public:
  void take(std::uint64_t position, std::span<const std::byte> planes) noexcept override {
    EXPECT_TRUE(position == 0 || position == taken.size());
    taken.resize(static_cast<std::size_t>(position));
    taken.insert(taken.end(), planes.begin(), planes.end());
  }
  Bytes taken;
};

struct ChunkAnswer {
  InflateResult result;
  Bytes taken;
};

/// Decodes the plane chunks of one input. Nothing may depend on what the swap holds at first.
inline ChunkAnswer decodeChunks(StreamInput& input, const PlaneChunkGeometry& geometry) {
  Bytes swap(static_cast<std::size_t>(geometry.workBytes), std::byte{0xd1});
  ByteSink sink;
  PlaneJob job{&input, swap, geometry, &sink};
  decodePlaneChunks(job);
  return {job.result, std::move(sink.taken)};
}

/// Fetches from bytes in memory.
inline auto fetchFrom(std::span<const std::byte> stream) {
  return [stream](std::uint64_t from, std::span<std::byte> target) {
    std::ranges::copy(stream.subspan(static_cast<std::size_t>(from), target.size()),
                      target.begin());
    return true;
  };
}

}  // namespace Kelbor::Inflate::Testing

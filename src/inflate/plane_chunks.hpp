#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "inflate/limits.hpp"
#include "inflate/stream_input.hpp"

namespace Kelbor::Inflate {

/// How the values of a dataset are divided into plane chunks. Each chunk takes one inflate call.
struct PlaneChunkGeometry {
  std::uint64_t valuesPerChunk;  ///< at least 1
  std::uint64_t chunkBytes;      ///< inflated bytes of a full chunk
  std::uint64_t inputBound;      ///< most compressed bytes that a chunk's call may see
  std::uint64_t chunkCount;      ///< the short last chunk included
  std::uint64_t totalBytes;      ///< inflated bytes of all chunks
  std::uint64_t workBytes;       ///< size of the memory that chunks are inflated in

  /// `chunkSizeInBytes` is below 2^31, `width` the bytes of a value, `valueCount` their number.
  [[nodiscard]] static PlaneChunkGeometry of(std::uint32_t chunkSizeInBytes, std::size_t width,
                                             std::uint64_t valueCount) noexcept;
};

/// Receives the planes of successive chunks and composes their values.
class PlaneSink {
 public:
  PlaneSink() = default;
  PlaneSink(const PlaneSink&) = delete;
  PlaneSink& operator=(const PlaneSink&) = delete;
  virtual ~PlaneSink() = default;

  /// The planes of a chunk that begins `position` inflated bytes into the stream; valid during the
  /// call. Position 0 may occur again: decoding has restarted, and all earlier planes are void.
  virtual void take(std::uint64_t position, std::span<const std::byte> planes) noexcept = 0;
};

struct InflateResult {
  bool streamReady = false;        ///< false: zlib could not open a stream, nothing was done
  bool ok = false;                 ///< false: damaged stream; the sink received a part of it
  std::uint64_t decodedBytes = 0;  ///< inflated bytes; only valid if ok
};

/// One stream of plane chunks and its sink. All is borrowed.
struct PlaneJob {
  /// At its start; its window allows looking ahead by geometry.inputBound.
  StreamInput* input;
  /// geometry.workBytes of any content.
  std::span<std::byte> swap;
  PlaneChunkGeometry geometry;
  PlaneSink* sink;
  InflateResult result = {};
};

/// The jobs of one thread.
class PlaneJobs {
 public:
  PlaneJobs() = default;
  PlaneJobs(const PlaneJobs&) = delete;
  PlaneJobs& operator=(const PlaneJobs&) = delete;
  virtual ~PlaneJobs() = default;

  /// The next job, borrowed until it ends; null if none is left, and then ever after.
  [[nodiscard]] virtual PlaneJob* next() noexcept = 0;
  /// The job has its result. Jobs end in any order.
  virtual void end(PlaneJob& job) noexcept = 0;
};

/// Inflates the plane chunks of each job through its swap memory and passes them to its sink. One
/// loop on the calling thread decodes up to `lanes` streams at a time, at most kMostLanes; a lane
/// takes the next job when its own has ended. A chunk that ends early is passed on whole, completed
/// with the swap's previous content or zeros. Success may end with result.decodedBytes below
/// geometry.totalBytes; values from there on are unspecified.
///
/// Never reads beyond an input nor writes beyond a swap, whatever the bytes. A stream that needs a
/// dictionary fails; a damaged or cut one ends in finite time. Results are zlib's on every road.
void decodePlaneChunks(PlaneJobs& jobs, std::size_t lanes) noexcept;
/// The same for one stream.
void decodePlaneChunks(PlaneJob& job) noexcept;

}  // namespace Kelbor::Inflate

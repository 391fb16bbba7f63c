#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/fast_inflater.hpp"
#include "platform/stream_input.hpp"

namespace Kelbor::MathModule::Kernels {

// The three ways in which stored streams are inflated. Each opens its own stream, reads nothing
// behind `input` and writes nothing behind its output, whatever the bytes are. A stream that wants
// a preset dictionary fails, and a damaged or cut one ends in finite time. Answers are zlib's,
// whichever engine is in use.

/// How a dataset of values of one width is cut into plane chunks. Each chunk takes one inflate
/// call.
struct PlaneChunkGeometry {
  std::uint64_t valuesPerChunk;  ///< at least 1
  std::uint64_t chunkBytes;      ///< inflated bytes of a full chunk
  std::uint64_t inputBound;      ///< most compressed bytes that a chunk's call may see
  std::uint64_t chunkCount;      ///< the short last chunk included
  std::uint64_t remainder;       ///< values of the short last chunk, 0 if there is none
  std::uint64_t swapBytes;       ///< size of the swap buffer

  /// `chunkSizeInBytes` is below 2^31, `width` the bytes of a value, `valueCount` their number.
  [[nodiscard]] static PlaneChunkGeometry of(std::uint32_t chunkSizeInBytes, std::size_t width,
                                             std::uint64_t valueCount) noexcept;
};

/// Where a swap has so many bytes more, a small dataset of one chunk takes less time.
inline constexpr std::uint64_t kSwapRoomBehind = Platform::FastInflater::kRoomBehind;

/// Whether the stored numbers are differences of neighbours or stand for themselves.
enum class PlaneMode { RunningSum, Plain };

struct InflateResult {
  bool streamReady = false;        ///< false: zlib could not open a stream, nothing was done
  bool ok = false;                 ///< false: damaged stream, the output is partly written
  std::uint64_t decodedBytes = 0;  ///< inflated bytes that have come; meaningless unless ok
};

/// Inflates plane chunk after plane chunk of a stream, which stands at its start and can look ahead
/// by geometry.inputBound, through `swap` and decodes each into `output`, whose size
/// is the value count that `geometry` was made for. `swap` has at least geometry.swapBytes bytes;
/// what they hold doesn't matter. A chunk that comes short is decoded whole, with what the one
/// before it left in the swap, or zeros. `decodedBytes` may end below the output's size without
/// failure; values from decodedBytes / sizeof(U) on are then unspecified.
/// For std::uint16_t, std::uint32_t and std::uint64_t.
template <class U>
[[nodiscard]] InflateResult decodePlaneChunks(Platform::StreamInput& input, std::span<U> output,
                                              std::span<std::byte> swap,
                                              const PlaneChunkGeometry& geometry,
                                              PlaneMode mode) noexcept;

/// Inflates a dataset that is one single plane chunk into `swap`, handing over the input in windows
/// of `windowSizeInBytes`, and decodes it, sums included, to the first decodedBytes / sizeof(U)
/// values of `output`. `swap` has sizeof(U) bytes per value of `output`. Empty input is well, and
/// yields nothing. A stream without its end, one with more than the swap holds, and a window of 0
/// fail. For the types above.
template <class U>
[[nodiscard]] InflateResult decodeWindowedPlanes(std::span<const std::byte> stream,
                                                 std::span<U> output, std::span<std::byte> swap,
                                                 std::uint32_t windowSizeInBytes) noexcept;

struct PlainInflateResult {
  bool streamReady = false;
  /// zlib's answer to the last call: Z_STREAM_END if all is well, else what zError puts in words.
  int code = 0;
  std::uint64_t decodedBytes = 0;

  [[nodiscard]] bool ok() const noexcept;
};

/// Inflates a stream straight into `output`. A stream shorter than the output is well, a longer one
/// and one without its end fail with Z_BUF_ERROR. Empty input is well and yields nothing.
[[nodiscard]] PlainInflateResult inflatePlain(std::span<const std::byte> stream,
                                              std::span<std::byte> output) noexcept;

}  // namespace Kelbor::MathModule::Kernels

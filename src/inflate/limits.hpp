#pragma once

#include <cstddef>
#include <cstdint>

namespace Kelbor::Inflate {

/// Streams that one loop decodes together. Three keep a processor busy.
inline constexpr std::size_t kMostLanes = 3;

// Numbers that zlib and the format set for compressed streams.

/// Deflate's limit: no stream yields more than this many bytes per stored byte.
inline constexpr std::uint64_t kMaxInflation = 1032;

/// Sizes up to 1 MiB are accepted whatever the stored size.
inline constexpr std::uint64_t kInflationSlack = std::uint64_t{1} << 20;

/// True if memory may be allocated for `size` bytes that inflate from `storedBytes`.
[[nodiscard]] constexpr bool isPlausibleSize(std::uint64_t storedBytes,
                                             std::uint64_t size) noexcept {
  return size <= kInflationSlack || (size - kInflationSlack) / kMaxInflation <= storedBytes;
}

/// Most bytes of input and of output per zlib call: zlib's counters have 32 bits.
inline constexpr std::uint64_t kInputStep = 536870912;
inline constexpr std::uint64_t kOutputStep = 2147483647;

/// The version text for opening streams; zlib accepts any with the same major number.
inline constexpr const char* kZlibVersion = "1.2.8";

/// The compression level for writing.
inline constexpr int kCompressionLevel = 4;

/// Upper bound for the size of deflated data including `streamBytes` of framing: 1.002 times the
/// data, computed in double precision.
[[nodiscard]] constexpr std::uint64_t deflatedBound(std::uint64_t dataBytes,
                                                    std::uint64_t streamBytes) noexcept {
  constexpr double kGrowth = 1.002;
  return static_cast<std::uint64_t>(static_cast<double>(dataBytes) * kGrowth) + streamBytes;
}

/// Framing of a whole stream that is written, in bytes.
inline constexpr std::uint64_t kWrittenStreamBytes = 11;
/// Framing that the input of one plane chunk may have, in bytes.
inline constexpr std::uint64_t kChunkStreamBytes = 12;

}  // namespace Kelbor::Inflate

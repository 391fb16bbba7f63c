#include "inflate/windowed_planes.hpp"

#include "inflate/inflater.hpp"
#include "inflate/zlib_calls.hpp"

namespace Kelbor::Inflate {
namespace {

/// Inflates window by window; true if the stream reached its end.
bool inflateWindows(ZlibCalls& zlib, std::span<std::byte> planes, std::uint32_t windowSizeInBytes,
                    std::uint64_t& decoded) noexcept {
  for (;;) {
    zlib.offerInput(windowSizeInBytes);
    if (zlib.offerIsUsedUp()) return false;
    do {
      const int answer = zlib.run(planes.subspan(static_cast<std::size_t>(decoded)), decoded);
      if (isFailure(answer)) return false;
      if (answer == Z_STREAM_END) return true;
    } while (!zlib.offerIsUsedUp());
  }
}

}  // namespace

InflateResult inflateWindowedPlanes(std::span<const std::byte> stream, std::span<std::byte> planes,
                                    std::uint32_t windowSizeInBytes) noexcept {
  if (stream.empty()) return {.streamReady = true, .ok = true, .decodedBytes = 0};
  StreamInput input(stream);
  // Windows don't change the result of a stream that is complete and fits.
  if (windowSizeInBytes != 0) {
    if (const auto size = inflateWhole(input, planes)) {
      return {.streamReady = true, .ok = true, .decodedBytes = *size};
    }
  }
  InflateResult result;
  ZlibCalls zlib(input);
  if (!zlib.isReady()) return result;
  result.streamReady = true;
  result.ok = inflateWindows(zlib, planes, windowSizeInBytes, result.decodedBytes);
  if (!zlib.end()) result.ok = false;
  return result;
}

}  // namespace Kelbor::Inflate

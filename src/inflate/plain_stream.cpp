#include "inflate/plain_stream.hpp"

#include "inflate/inflater.hpp"
#include "inflate/limits.hpp"
#include "inflate/zlib_calls.hpp"

namespace Kelbor::Inflate {

bool PlainResult::ok() const noexcept {
  return streamReady && code == Z_STREAM_END;
}

const char* PlainResult::reason() const noexcept {
  return ::zError(code);
}

PlainResult inflatePlain(std::span<const std::byte> stream, std::span<std::byte> output,
                         FullRoom fullRoom) noexcept {
  StreamInput input(stream);
  // A stream that fits one offer is consumed whole or fails.
  if (input.size() <= kInputStep || fullRoom == FullRoom::kTakesMoreInput) {
    if (const auto size = inflateWhole(input, output)) {
      return {.streamReady = true, .code = Z_STREAM_END, .decodedBytes = *size};
    }
  }
  PlainResult result;
  ZlibCalls zlib(input);
  if (!zlib.isReady()) return result;
  result.streamReady = true;
  // Both loops end: a call that can neither read nor write returns an error.
  for (;;) {
    zlib.offerInput(kInputStep);
    do {
      result.code = zlib.run(output.subspan(static_cast<std::size_t>(result.decodedBytes)),
                             result.decodedBytes);
      const bool wantsInput = result.code == Z_BUF_ERROR && zlib.offerIsUsedUp() &&
                              input.unread() != 0 && fullRoom == FullRoom::kTakesMoreInput;
      if (wantsInput) break;
      if (isFailure(result.code) || result.code == Z_STREAM_END) return result;
    } while (zlib.grantIsUsedUp());
  }
}

}  // namespace Kelbor::Inflate

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "inflate/stream_input.hpp"
#include "inflate/zlib_stream.hpp"

namespace Kelbor::Inflate {

/// Single calls of zlib along an input. Results are defined by the input and the room that each
/// call sees.
class ZlibCalls {
 public:
  /// `input` is borrowed and at its start.
  explicit ZlibCalls(StreamInput& input) noexcept;

  [[nodiscard]] bool isReady() const noexcept { return stream_.isReady(); }
  [[nodiscard]] bool offerIsUsedUp() noexcept { return stream_.get().avail_in == 0; }
  [[nodiscard]] bool grantIsUsedUp() noexcept { return stream_.get().avail_out == 0; }

  /// Offers all unused input, but at most `bound` bytes.
  void offerInput(std::uint64_t bound) noexcept;

  /// One call that writes to the front of `target`. Adds the number of bytes to `produced` and
  /// returns zlib's result.
  int run(std::span<std::byte> target, std::uint64_t& produced) noexcept;

  /// False if zlib reports an error on closing the stream.
  [[nodiscard]] bool end() noexcept { return stream_.end() == Z_OK; }

 private:
  InflateStream stream_;
  StreamInput& input_;
};

}  // namespace Kelbor::Inflate

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Kelbor::Inflate {

/// The result if zlib has used up an offer of input and all room at once while more input follows.
/// That is a stream of more than 512 MiB whose last offer holds only its checksum.
enum class FullRoom { kFails, kTakesMoreInput };

struct PlainResult {
  bool streamReady = false;        ///< false: zlib could not open a stream; nothing was done
  int code = 0;                    ///< zlib's last result: Z_STREAM_END, else an error
  std::uint64_t decodedBytes = 0;  ///< inflated bytes; only valid if ok()

  [[nodiscard]] bool ok() const noexcept;
  /// The code as text.
  [[nodiscard]] const char* reason() const noexcept;
};

/// Inflates a whole stream into `output`, which may be larger than the result. A stream that
/// exceeds it or lacks its end fails with Z_BUF_ERROR, one that needs a dictionary with
/// Z_NEED_DICT; the output is then partly written. An empty stream lacks its end.
[[nodiscard]] PlainResult inflatePlain(std::span<const std::byte> stream,
                                       std::span<std::byte> output,
                                       FullRoom fullRoom = FullRoom::kFails) noexcept;

}  // namespace Kelbor::Inflate

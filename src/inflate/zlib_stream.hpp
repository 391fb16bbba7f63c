#pragma once

#include <zlib.h>

#include <memory>

namespace Kelbor::Inflate {

/// A zlib stream for inflating, opened with the format's version text. Closed streams are kept and
/// used again, since setting up zlib's 40 KB of state takes longer than many small datasets. The
/// caller sets next_in/avail_in and next_out/avail_out and calls inflate().
class InflateStream {
 public:
  InflateStream();
  ~InflateStream();
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;

  /// False if zlib could not open a stream; get() is then not allowed.
  [[nodiscard]] bool isReady() const noexcept { return stream_ != nullptr; }
  [[nodiscard]] z_stream& get() noexcept { return *stream_; }
  /// Closes the stream before the destructor does, and returns zlib's result: Z_OK for success.
  int end();

 private:
  std::unique_ptr<z_stream> stream_;
};

/// True if zlib's result ends the use of a stream. Streams of the format have no dictionary.
[[nodiscard]] constexpr bool isFailure(int answer) noexcept {
  return answer < 0 || answer == Z_NEED_DICT;
}

/// The same for deflating, at the format's compression level 4.
class DeflateStream {
 public:
  DeflateStream();
  ~DeflateStream();
  DeflateStream(const DeflateStream&) = delete;
  DeflateStream& operator=(const DeflateStream&) = delete;

  [[nodiscard]] bool isReady() const noexcept { return ready_; }
  [[nodiscard]] z_stream& get() noexcept { return stream_; }

 private:
  z_stream stream_{};
  bool ready_;
};

}  // namespace Kelbor::Inflate

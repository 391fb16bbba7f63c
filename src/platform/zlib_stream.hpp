#pragma once

#include <zlib.h>

#include <memory>

namespace Kelbor::Platform {

/// A zlib stream for inflating that ends itself. Opened with the version text "1.2.8", the one that
/// the format was defined with; zlib accepts any of the same major number. Streams that have ended
/// are kept and used again, since zlib's 40 KB of state cost more than many a small dataset.
/// The caller feeds next_in/avail_in and next_out/avail_out and calls inflate itself.
class InflateStream {
 public:
  InflateStream();
  ~InflateStream();
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;

  /// False where zlib could not open a stream; there is nothing to get then.
  [[nodiscard]] bool isReady() const noexcept { return stream_ != nullptr; }
  [[nodiscard]] z_stream& get() noexcept { return *stream_; }
  /// Ends the stream early and tells zlib's answer, Z_OK if all was well. The destructor then
  /// does nothing.
  int end();

 private:
  std::unique_ptr<z_stream> stream_;
};

/// The counterpart for deflating, at the format's compression level 4.
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

}  // namespace Kelbor::Platform

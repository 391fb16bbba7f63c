#pragma once

#include <zlib.h>

namespace Kelbor::Platform {

/// A zlib stream for inflating that ends itself. Opened with the version text "1.2.8", the one that
/// the format was defined with; zlib accepts any of the same major number.
/// The caller feeds next_in/avail_in and next_out/avail_out and calls inflate itself.
class InflateStream {
 public:
  InflateStream();
  ~InflateStream();
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;

  [[nodiscard]] bool isReady() const noexcept { return ready_; }
  [[nodiscard]] z_stream& get() noexcept { return stream_; }
  /// Ends the stream early and tells zlib's answer, Z_OK if all was well. The destructor then
  /// does nothing.
  int end();

 private:
  z_stream stream_{};
  bool ready_;
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

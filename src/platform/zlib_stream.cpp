#include "platform/zlib_stream.hpp"

#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

namespace Kelbor::Platform {
namespace {

constexpr const char* kZlibVersion = "1.2.8";
constexpr int kCompressionLevel = 4;

/// Streams at their start, for whoever needs one next. Never destroyed: reads may end while the
/// process does.
class IdleStreams {
 public:
  std::unique_ptr<z_stream> take() {
    const std::lock_guard guard(lock_);
    if (streams_.empty()) return nullptr;
    auto stream = std::move(streams_.back());
    streams_.pop_back();
    return stream;
  }

  /// Takes the stream, or leaves it where enough are kept.
  void keep(std::unique_ptr<z_stream>& stream) {
    const std::lock_guard guard(lock_);
    if (streams_.size() < kMost) streams_.push_back(std::move(stream));
  }

 private:
  static constexpr std::size_t kMost = 16;

  std::mutex lock_;
  std::vector<std::unique_ptr<z_stream>> streams_;
};

IdleStreams& idleStreams() {
  static IdleStreams& streams = *new IdleStreams;
  return streams;
}

}  // namespace

InflateStream::InflateStream() : stream_(idleStreams().take()) {
  if (stream_) return;
  stream_ = std::make_unique<z_stream>();
  if (::inflateInit_(stream_.get(), kZlibVersion, static_cast<int>(sizeof(z_stream))) != Z_OK) {
    stream_.reset();
  }
}

InflateStream::~InflateStream() {
  end();
}

int InflateStream::end() {
  if (!stream_) return Z_OK;
  if (::inflateReset(stream_.get()) == Z_OK) idleStreams().keep(stream_);
  if (!stream_) return Z_OK;
  const int answer = ::inflateEnd(stream_.get());
  stream_.reset();
  return answer;
}

DeflateStream::DeflateStream()
    : ready_(::deflateInit_(&stream_, kCompressionLevel, kZlibVersion,
                            static_cast<int>(sizeof(z_stream))) == Z_OK) {}

DeflateStream::~DeflateStream() {
  if (ready_) ::deflateEnd(&stream_);
}

}  // namespace Kelbor::Platform

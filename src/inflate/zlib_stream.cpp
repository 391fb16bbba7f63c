#include "inflate/zlib_stream.hpp"

#include "inflate/limits.hpp"
#include "platform/idle_pool.hpp"

namespace Kelbor::Inflate {
namespace {

void endStream(z_stream* stream) {
  ::inflateEnd(stream);
  delete stream;
}

/// Streams that were reset to their start.
using IdleStreams = Platform::IdlePool<z_stream, endStream>;
constinit IdleStreams idleStreams;
const IdleStreams::Owner ownerOfIdleStreams(idleStreams);

}  // namespace

InflateStream::InflateStream() : stream_(idleStreams.take()) {
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
  if (::inflateReset(stream_.get()) == Z_OK) {
    idleStreams.giveBack(stream_.release());
    return Z_OK;
  }
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

}  // namespace Kelbor::Inflate

#include "platform/zlib_stream.hpp"

namespace Kelbor::Platform {
namespace {

constexpr const char* kZlibVersion = "1.2.8";
constexpr int kCompressionLevel = 4;

}  // namespace

InflateStream::InflateStream()
    : ready_(::inflateInit_(&stream_, kZlibVersion, static_cast<int>(sizeof(z_stream))) == Z_OK) {}

InflateStream::~InflateStream() {
  end();
}

int InflateStream::end() {
  if (!ready_) return Z_OK;
  ready_ = false;
  return ::inflateEnd(&stream_);
}

DeflateStream::DeflateStream()
    : ready_(::deflateInit_(&stream_, kCompressionLevel, kZlibVersion,
                            static_cast<int>(sizeof(z_stream))) == Z_OK) {}

DeflateStream::~DeflateStream() {
  if (ready_) ::deflateEnd(&stream_);
}

}  // namespace Kelbor::Platform

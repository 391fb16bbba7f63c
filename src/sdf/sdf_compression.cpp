#include "sdf/sdf_compression.hpp"

#include <algorithm>

#include "core/log.hpp"
#include "inflate/limits.hpp"
#include "inflate/plain_stream.hpp"
#include "inflate/zlib_stream.hpp"

namespace Kelbor::MathModule {
namespace {

void logUnprepared() {
  getLogger().error() << "Sdf failed to prepare stream!";
}

void feed(z_stream& stream, std::span<const std::byte> block) {
  // zlib's pointer lacks const; zlib only reads through it.
  stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(block.data()));
  stream.avail_in = static_cast<uInt>(block.size());
}

void grant(z_stream& stream, std::span<std::byte> room) {
  stream.next_out = reinterpret_cast<Bytef*>(room.data());
  stream.avail_out = static_cast<uInt>(std::min<std::uint64_t>(room.size(), Inflate::kOutputStep));
}

}  // namespace

std::optional<std::uint64_t> inflateStream(std::span<const std::byte> stored,
                                           std::span<std::byte> target) {
  const Inflate::PlainResult result =
      Inflate::inflatePlain(stored, target, Inflate::FullRoom::kTakesMoreInput);
  if (result.ok()) return result.decodedBytes;
  if (result.streamReady) {
    getLogger().error() << "Sdf decompression failed! Reason: " << result.reason();
  } else {
    logUnprepared();
  }
  return std::nullopt;
}

std::optional<ByteBlock> deflateIfShorter(std::span<const std::span<const std::byte>> sources) {
  std::uint64_t total = 0;
  for (const auto source : sources) total += source.size();

  Inflate::DeflateStream deflater;
  if (!deflater.isReady()) {
    logUnprepared();
    return std::nullopt;
  }
  const std::uint64_t bound = Inflate::deflatedBound(total, Inflate::kWrittenStreamBytes);
  ByteBlock deflated(static_cast<std::size_t>(bound));
  std::span<std::byte> room = deflated.view();
  int result = Z_OK;
  for (auto source : sources) {
    while (!source.empty()) {
      const auto block = source.first(std::min<std::size_t>(source.size(), Inflate::kInputStep));
      source = source.subspan(block.size());
      feed(deflater.get(), block);
      grant(deflater.get(), room);
      const uInt granted = deflater.get().avail_out;
      result = ::deflate(&deflater.get(), source.empty() ? Z_FINISH : Z_NO_FLUSH);
      if (result != Z_OK && result != Z_STREAM_END) {
        getLogger().error() << "Sdf compression failed! Reason: " << ::zError(result);
        return std::nullopt;
      }
      room = room.subspan(granted - deflater.get().avail_out);
    }
  }
  const std::uint64_t length = bound - room.size();
  if (result != Z_STREAM_END || length >= total) return std::nullopt;
  deflated.shorten(static_cast<std::size_t>(length));
  return deflated;
}

}  // namespace Kelbor::MathModule

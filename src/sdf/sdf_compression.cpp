#include "sdf/sdf_compression.hpp"

#include <algorithm>

#include "core/log.hpp"
#include "platform/fast_inflater.hpp"
#include "platform/zlib_stream.hpp"

namespace Kelbor::MathModule {
namespace {

// zlib counts a call's bytes in 32 bits: longer data pass through it in pieces of these sizes.
constexpr std::uint64_t kInputBlock = 0x20000000;
constexpr std::uint64_t kOutputGrant = 0x7FFFFFFF;

void logUnprepared() {
  getLogger().error() << "Sdf failed to prepare stream!";
}

void logFailure(const char* what, int code) {
  getLogger().error() << what << ::zError(code);
}

void feed(z_stream& stream, std::span<const std::byte> block) {
  // zlib's pointer is not const for reasons of age; it does not write through it.
  stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(block.data()));
  stream.avail_in = static_cast<uInt>(block.size());
}

void grant(z_stream& stream, std::span<std::byte> room) {
  stream.next_out = reinterpret_cast<Bytef*>(room.data());
  stream.avail_out = static_cast<uInt>(std::min<std::uint64_t>(room.size(), kOutputGrant));
}

/// Inflates what was fed for as long as the grants come back used up. Z_OK asks for more input;
/// Z_BUF_ERROR tells that input is left which could not be moved for want of room.
int inflateBlock(z_stream& stream, std::span<std::byte>& room) {
  int result = Z_OK;
  do {
    grant(stream, room);
    const uInt inputBefore = stream.avail_in;
    const uInt granted = stream.avail_out;
    result = ::inflate(&stream, Z_NO_FLUSH);
    room = room.subspan(granted - stream.avail_out);
    const bool moved = stream.avail_in != inputBefore || stream.avail_out != granted;
    if (result == Z_OK && !moved) result = Z_BUF_ERROR;
  } while (result == Z_OK && stream.avail_out == 0);
  return result == Z_BUF_ERROR && stream.avail_in == 0 ? Z_OK : result;
}

}  // namespace

std::optional<std::uint64_t> inflateStream(std::span<const std::byte> stored,
                                           std::span<std::byte> target) {
  {
    Platform::StreamInput input(stored);
    Platform::FastInflater fast(input, target.size());
    const auto length = fast.isReady() ? fast.inflateAll(target) : std::nullopt;
    if (length) return length;
  }
  Platform::InflateStream inflater;
  if (!inflater.isReady()) {
    logUnprepared();
    return std::nullopt;
  }
  std::span<std::byte> room = target;
  int result = Z_BUF_ERROR;
  while (!stored.empty()) {
    const auto block = stored.first(std::min<std::size_t>(stored.size(), kInputBlock));
    stored = stored.subspan(block.size());
    feed(inflater.get(), block);
    result = inflateBlock(inflater.get(), room);
    if (result != Z_OK) break;
    result = Z_BUF_ERROR;  // stands if no more input follows: the stream lacks its end
  }
  if (result == Z_STREAM_END) return target.size() - room.size();
  logFailure("Sdf decompression failed! Reason: ", result);
  return std::nullopt;
}

std::optional<ByteBlock> deflateIfShorter(std::span<const std::span<const std::byte>> sources) {
  std::uint64_t total = 0;
  for (const auto source : sources) total += source.size();

  Platform::DeflateStream deflater;
  if (!deflater.isReady()) {
    logUnprepared();
    return std::nullopt;
  }
  const auto bound = static_cast<std::uint64_t>(static_cast<double>(total) * 1.002) + 11;
  ByteBlock deflated(static_cast<std::size_t>(bound));
  std::span<std::byte> room = deflated.view();
  int result = Z_OK;
  for (auto source : sources) {
    while (!source.empty()) {
      const auto block = source.first(std::min<std::size_t>(source.size(), kInputBlock));
      source = source.subspan(block.size());
      feed(deflater.get(), block);
      grant(deflater.get(), room);
      const uInt granted = deflater.get().avail_out;
      result = ::deflate(&deflater.get(), source.empty() ? Z_FINISH : Z_NO_FLUSH);
      if (result != Z_OK && result != Z_STREAM_END) {
        logFailure("Sdf compression failed! Reason: ", result);
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

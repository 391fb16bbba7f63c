#include "procedures/kernels/inflate_stream.hpp"

#include <zlib.h>

#include <algorithm>
#include <optional>

#include "platform/zlib_stream.hpp"
#include "procedures/kernels/byte_planes.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

// What one call of inflate may see of input and output, so that zlib's 32-bit counters hold it.
constexpr std::uint64_t kLargestInputStep = 536870912;
constexpr std::uint64_t kLargestOutputStep = 2147483647;

// igzip decodes up to this many bytes ahead of a target that is smaller, and a few symbols ahead of
// any other: literals that one look-up yields, or the rest of a match.
constexpr std::uint64_t kFarReadAhead = 65536;
constexpr std::uint64_t kShortReadAhead = 272;
// Generous for the compressed size of those few symbols.
constexpr std::uint64_t kReadAheadInput = 32;

using Platform::StreamInput;

uInt stepOf(std::uint64_t remaining, std::uint64_t bound) noexcept {
  return static_cast<uInt>(std::min(remaining, bound));
}

/// An open zlib stream over an input.
class BlockInflater {
 public:
  explicit BlockInflater(StreamInput& input) noexcept : input_(input) {
    if (isReady()) stream_.get().avail_in = 0;
  }

  [[nodiscard]] bool isReady() const noexcept { return stream_.isReady(); }
  [[nodiscard]] bool offerIsUsedUp() noexcept { return stream_.get().avail_in == 0; }
  [[nodiscard]] bool grantIsUsedUp() noexcept { return stream_.get().avail_out == 0; }

  /// Offers all input that no call has used, but no more than `bound` bytes.
  void offerInput(std::uint64_t bound) noexcept {
    const std::span<const std::byte> bytes = input_.ahead(bound);
    // zlib reads through this pointer only, its type has lost the const for old compilers.
    stream_.get().next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
    stream_.get().avail_in = stepOf(bytes.size(), bound);
  }

  /// One call of inflate into the front of `target`; adds the bytes that came to `produced`.
  /// Answers as zlib does, but a wish for a dictionary is an error like any other.
  int run(std::span<std::byte> target, std::uint64_t& produced) noexcept {
    z_stream& stream = stream_.get();
    // zlib refuses a null target even where nothing is to be written.
    Bytef none = 0;
    stream.next_out = target.empty() ? &none : reinterpret_cast<Bytef*>(target.data());
    const uInt granted = stepOf(target.size(), kLargestOutputStep);
    const uInt offered = stream.avail_in;
    stream.avail_out = granted;
    const int result = ::inflate(&stream, Z_NO_FLUSH);
    input_.consume(offered - stream.avail_in);
    produced += granted - stream.avail_out;
    return result;
  }

  [[nodiscard]] bool end() noexcept { return stream_.end() == Z_OK; }

 private:
  Platform::InflateStream stream_;
  StreamInput& input_;
};

bool isFailure(int result) noexcept {
  return result < 0 || result == Z_NEED_DICT;
}

/// Inflates all windows into `swap`; true if the stream reached its end.
bool inflateWindows(BlockInflater& inflater, std::span<std::byte> swap,
                    std::uint32_t windowSizeInBytes, std::uint64_t& decoded) noexcept {
  for (;;) {
    inflater.offerInput(windowSizeInBytes);
    if (inflater.offerIsUsedUp()) return false;
    do {
      const int result = inflater.run(swap.subspan(static_cast<std::size_t>(decoded)), decoded);
      if (isFailure(result)) return false;
      if (result == Z_STREAM_END) return true;
    } while (!inflater.offerIsUsedUp());
  }
}

/// Leaves the input at its start where it answers with nothing.
std::optional<std::uint64_t> inflateAllFast(StreamInput& input,
                                            std::span<std::byte> target) noexcept {
  Platform::FastInflater inflater(input, target.size());
  const auto size = inflater.isReady() ? inflater.inflateAll(target) : std::nullopt;
  if (!size) input.rewind();
  return size;
}

/// Walks the plane chunks of a dataset: each is inflated into planes(), then decoded.
template <class U>
class PlaneChunks {
 public:
  PlaneChunks(std::span<U> output, std::span<std::byte> swap, const PlaneChunkGeometry& geometry,
              PlaneMode mode) noexcept
      : output_(output), swap_(swap), geometry_(geometry), mode_(mode) {}

  [[nodiscard]] bool done() const noexcept { return chunk_ == geometry_.chunkCount; }
  [[nodiscard]] std::span<std::byte> swap() const noexcept { return swap_; }
  [[nodiscard]] std::span<std::byte> planes() const noexcept {
    return swap_.first(valueCount() * sizeof(U));
  }

  /// Of the chunks that are left.
  [[nodiscard]] std::uint64_t totalBytes() const noexcept { return output_.size_bytes(); }

  void decode() noexcept {
    const std::size_t count = valueCount();
    const std::span<U> values = output_.first(count);
    if (mode_ == PlaneMode::RunningSum) {
      running_ = composePlanesZigzagSum<U>(planes(), values, running_);
    } else {
      composePlanesZigzag<U>(planes(), values);
    }
    output_ = output_.subspan(count);
    ++chunk_;
  }

 private:
  [[nodiscard]] std::size_t valueCount() const noexcept {
    const bool isShort = geometry_.remainder != 0 && chunk_ + 1 == geometry_.chunkCount;
    return static_cast<std::size_t>(isShort ? geometry_.remainder : geometry_.valuesPerChunk);
  }

  std::span<U> output_;
  std::span<std::byte> swap_;
  const PlaneChunkGeometry& geometry_;
  PlaneMode mode_;
  std::uint64_t chunk_ = 0;
  U running_ = 0;
};

/// True if the fast engine decoded every chunk from no more input than a call of zlib would get.
template <class U>
bool decodePlaneChunksFast(StreamInput& input, PlaneChunks<U> chunks,
                           const PlaneChunkGeometry& geometry) noexcept {
  const bool isOneOffer = input.size() <= geometry.inputBound;
  if (!isOneOffer && geometry.chunkBytes < kFarReadAhead) return false;
  Platform::FastInflater inflater(input, chunks.totalBytes());
  if (!inflater.isReady()) return false;
  if (isOneOffer && geometry.chunkCount == 1) {
    if (inflater.inflateAll(chunks.swap()) != chunks.planes().size()) return false;
    chunks.decode();
    return true;
  }
  // Where zlib stands at least. It, too, has decoded the next symbol when a chunk is full.
  std::uint64_t start = 0;
  while (!chunks.done()) {
    if (!inflater.fill(chunks.planes())) return false;
    const std::uint64_t end = inflater.position();
    if (!isOneOffer && end - start > geometry.inputBound) return false;
    chunks.decode();
    if (chunks.done()) break;
    if (!isOneOffer && inflater.readAhead() > kShortReadAhead) return false;
    start = std::max(start, end - std::min(end, kReadAheadInput));
  }
  // zlib's last call goes on behind a full chunk, up to the checksum if nothing else comes. Where
  // something else comes it checks less, but the fast engine takes damaged code tables that zlib
  // refuses: only a checksum tells that it wasn't led astray.
  return inflater.endsHere();
}

}  // namespace

PlaneChunkGeometry PlaneChunkGeometry::of(std::uint32_t chunkSizeInBytes, std::size_t width,
                                          std::uint64_t valueCount) noexcept {
  // Room for a chunk that deflate could not make smaller, and the stream's own bytes; both numbers
  // belong to the format.
  constexpr double kGrowth = 1.002;
  constexpr std::uint64_t kStreamBytes = 12;

  PlaneChunkGeometry g;
  g.valuesPerChunk = std::max<std::uint64_t>(chunkSizeInBytes / width, 1);
  g.chunkBytes = g.valuesPerChunk * width;
  g.inputBound =
      static_cast<std::uint64_t>(static_cast<double>(g.chunkBytes) * kGrowth) + kStreamBytes;
  g.remainder = valueCount % g.valuesPerChunk;
  g.chunkCount = valueCount / g.valuesPerChunk + (g.remainder != 0 ? 1 : 0);
  g.swapBytes = std::min(valueCount, g.valuesPerChunk) * width;
  return g;
}

template <class U>
InflateResult decodePlaneChunks(StreamInput& input, std::span<U> output, std::span<std::byte> swap,
                                const PlaneChunkGeometry& geometry, PlaneMode mode) noexcept {
  PlaneChunks<U> chunks(output, swap, geometry, mode);
  if (!chunks.done() && decodePlaneChunksFast<U>(input, chunks, geometry)) {
    return {.streamReady = true, .ok = true, .decodedBytes = output.size_bytes()};
  }
  input.rewind();
  InflateResult result;
  BlockInflater inflater(input);
  if (!inflater.isReady()) return result;
  result.streamReady = true;
  result.ok = true;
  // What a short chunk is decoded with is part of the result.
  if (!chunks.done()) std::ranges::fill(swap.first(geometry.swapBytes), std::byte{0});
  while (!chunks.done()) {
    inflater.offerInput(geometry.inputBound);
    const int code = inflater.run(chunks.planes(), result.decodedBytes);
    // After a failure no later call yields anything, so the remaining chunks are left alone.
    if (isFailure(code)) {
      result.ok = false;
      break;
    }
    chunks.decode();
    // All values of later chunks would lie behind the decoded bytes.
    if (code == Z_STREAM_END) break;
  }
  if (!inflater.end()) result.ok = false;
  return result;
}

template <class U>
InflateResult decodeWindowedPlanes(std::span<const std::byte> stream, std::span<U> output,
                                   std::span<std::byte> swap,
                                   std::uint32_t windowSizeInBytes) noexcept {
  if (stream.empty()) return {.streamReady = true, .ok = true, .decodedBytes = 0};
  swap = swap.first(output.size() * sizeof(U));
  StreamInput input(stream);
  InflateResult result;
  // Windows change nothing about a stream that is whole and fits.
  if (const auto size = windowSizeInBytes != 0 ? inflateAllFast(input, swap) : std::nullopt) {
    result = {.streamReady = true, .ok = true, .decodedBytes = *size};
  } else {
    BlockInflater inflater(input);
    if (!inflater.isReady()) return result;
    result.streamReady = true;
    result.ok = inflateWindows(inflater, swap, windowSizeInBytes, result.decodedBytes);
    if (!inflater.end()) result.ok = false;
  }
  if (result.ok) {
    const auto count = static_cast<std::size_t>(result.decodedBytes / sizeof(U));
    static_cast<void>(
        composePlanesZigzagSum<U>(swap.first(count * sizeof(U)), output.first(count), U{0}));
  }
  return result;
}

bool PlainInflateResult::ok() const noexcept {
  return streamReady && code == Z_STREAM_END;
}

PlainInflateResult inflatePlain(std::span<const std::byte> stream,
                                std::span<std::byte> output) noexcept {
  if (stream.empty()) return {.streamReady = true, .code = Z_STREAM_END, .decodedBytes = 0};
  StreamInput input(stream);
  // zlib fails where its first offer ends together with the output; smaller streams are one offer.
  if (input.size() <= kLargestInputStep) {
    if (const auto size = inflateAllFast(input, output)) {
      return {.streamReady = true, .code = Z_STREAM_END, .decodedBytes = *size};
    }
  }
  PlainInflateResult result;
  BlockInflater inflater(input);
  if (!inflater.isReady()) return result;
  result.streamReady = true;
  // A call that can move neither side answers with an error, so both loops end.
  for (;;) {
    inflater.offerInput(kLargestInputStep);
    do {
      result.code = inflater.run(output.subspan(static_cast<std::size_t>(result.decodedBytes)),
                                 result.decodedBytes);
      if (isFailure(result.code) || result.code == Z_STREAM_END) return result;
    } while (inflater.grantIsUsedUp());
  }
}

template InflateResult decodePlaneChunks(StreamInput&, std::span<std::uint16_t>,
                                         std::span<std::byte>, const PlaneChunkGeometry&,
                                         PlaneMode) noexcept;
template InflateResult decodePlaneChunks(StreamInput&, std::span<std::uint32_t>,
                                         std::span<std::byte>, const PlaneChunkGeometry&,
                                         PlaneMode) noexcept;
template InflateResult decodePlaneChunks(StreamInput&, std::span<std::uint64_t>,
                                         std::span<std::byte>, const PlaneChunkGeometry&,
                                         PlaneMode) noexcept;
template InflateResult decodeWindowedPlanes(std::span<const std::byte>, std::span<std::uint16_t>,
                                            std::span<std::byte>, std::uint32_t) noexcept;
template InflateResult decodeWindowedPlanes(std::span<const std::byte>, std::span<std::uint32_t>,
                                            std::span<std::byte>, std::uint32_t) noexcept;
template InflateResult decodeWindowedPlanes(std::span<const std::byte>, std::span<std::uint64_t>,
                                            std::span<std::byte>, std::uint32_t) noexcept;

}  // namespace Kelbor::MathModule::Kernels

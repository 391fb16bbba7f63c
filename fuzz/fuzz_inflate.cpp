// Bytes as a stream for the three inflating loops: each engine must answer what zlib answers.

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "platform/inflate_engines.hpp"
#include "platform/zlib_stream.hpp"
#include "procedures/kernels/inflate_stream.hpp"

namespace {

using namespace Kelbor::MathModule::Kernels;
using Kelbor::Platform::InflateEngine;
using Kelbor::Platform::inflateEngines;
using Kelbor::Platform::StreamInput;
using Kelbor::Platform::useInflateEngine;
using Bytes = std::vector<std::byte>;

void demand(bool condition) {
  if (!condition) std::abort();
}

struct Answers {
  InflateResult chunks;
  InflateResult windows;
  PlainInflateResult plain;
  std::vector<std::uint32_t> chunkValues;
  std::vector<std::uint32_t> windowValues;
  Bytes plainBytes;
};

Answers answersOf(std::span<const std::byte> stream, std::size_t count, std::uint32_t chunkSize,
                  std::uint32_t window) {
  Answers answers;
  answers.chunkValues.resize(count);
  answers.windowValues.resize(count);
  answers.plainBytes.resize(count * 4);
  const auto geometry = PlaneChunkGeometry::of(chunkSize, 4, count);
  Bytes swap(geometry.swapBytes + kSwapRoomBehind, std::byte{0xd1});
  // Through a window as small as the loop can do with.
  Bytes inputWindow(std::max<std::size_t>(geometry.inputBound, 4096));
  StreamInput input(
      stream.size(),
      [stream](std::uint64_t from, std::span<std::byte> target) {
        std::ranges::copy(stream.subspan(from, target.size()), target.begin());
        return true;
      },
      inputWindow);
  answers.chunks = decodePlaneChunks<std::uint32_t>(input, answers.chunkValues, swap, geometry,
                                                    PlaneMode::RunningSum);
  Bytes whole(count * 4);
  answers.windows =
      decodeWindowedPlanes<std::uint32_t>(stream, answers.windowValues, whole, window);
  answers.plain = inflatePlain(stream, answers.plainBytes);
  return answers;
}

template <class T>
void demandSame(const std::vector<T>& a, const std::vector<T>& b, std::uint64_t decodedBytes) {
  const std::size_t count = decodedBytes / sizeof(T);
  demand(count <= a.size() && count <= b.size());
  demand(count == 0 || std::memcmp(a.data(), b.data(), count * sizeof(T)) == 0);
}

void demandSame(const InflateResult& a, const std::vector<std::uint32_t>& aValues,
                const InflateResult& b, const std::vector<std::uint32_t>& bValues) {
  demand(a.streamReady == b.streamReady && a.ok == b.ok);
  if (!a.ok) return;
  demand(a.decodedBytes == b.decodedBytes);
  demandSame(aValues, bValues, a.decodedBytes);
}

/// Codes with words that stand for nothing are refused by zlib alone, whether one occurs or not.
bool meetsIncompleteCode(std::span<const std::byte> stream) {
  Kelbor::Platform::InflateStream inflater;
  z_stream& z = inflater.get();
  Bytes output(65536);
  z.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(stream.data()));
  z.avail_in = static_cast<uInt>(stream.size());
  int code = Z_OK;
  while (code == Z_OK) {
    z.next_out = reinterpret_cast<Bytef*>(output.data());
    z.avail_out = static_cast<uInt>(output.size());
    code = ::inflate(&z, Z_NO_FLUSH);
  }
  if (code != Z_DATA_ERROR || !z.msg) return false;
  const std::string_view reason = z.msg;
  return reason == "invalid literal/lengths set" || reason == "invalid distances set" ||
         reason == "invalid code lengths set";
}

/// The bytes as deflate blocks in a stream with the right header and, if they end, checksum, so
/// that mutations get past both.
Bytes wrapped(const Bytes& blocks) {
  z_stream z{};
  demand(::inflateInit2(&z, -15) == Z_OK);
  Bytes output(65536);
  z.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(blocks.data()));
  z.avail_in = static_cast<uInt>(blocks.size());
  uLong sum = ::adler32(0, nullptr, 0);
  int code = Z_OK;
  while (code == Z_OK) {
    z.next_out = reinterpret_cast<Bytef*>(output.data());
    z.avail_out = static_cast<uInt>(output.size());
    code = ::inflate(&z, Z_NO_FLUSH);
    const auto produced = static_cast<uInt>(output.size()) - z.avail_out;
    sum = ::adler32(sum, reinterpret_cast<const Bytef*>(output.data()), produced);
  }
  Bytes stream = {std::byte{0x78}, std::byte{0x01}};
  stream.insert(stream.end(), blocks.begin(), blocks.end() - z.avail_in);
  for (const int shift : {24, 16, 8, 0}) stream.push_back(static_cast<std::byte>(sum >> shift));
  ::inflateEnd(&z);
  return stream;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  // The first bytes choose the room and how it is cut.
  const std::size_t count = static_cast<std::size_t>(data[0]) << (data[1] & 7U);
  const std::uint32_t chunkSize = 1U << ((data[1] >> 3 & 15U) + 2);
  const std::uint32_t window = data[2];
  // An exact heap block, so that a sanitizer sees one byte too many.
  const auto* begin = reinterpret_cast<const std::byte*>(data + 3);
  Bytes stream(begin, begin + (size - 3));
  if (data[1] & 0x80U) stream = wrapped(stream);

  useInflateEngine(InflateEngine::zlib);
  const Answers wanted = answersOf(stream, count, chunkSize, window);
  useInflateEngine(inflateEngines().front());
  const Answers got = answersOf(stream, count, chunkSize, window);
  if (meetsIncompleteCode(stream)) return 0;
  demandSame(got.chunks, got.chunkValues, wanted.chunks, wanted.chunkValues);
  demandSame(got.windows, got.windowValues, wanted.windows, wanted.windowValues);
  demand(got.plain.code == wanted.plain.code);
  if (got.plain.ok()) {
    demand(got.plain.decodedBytes == wanted.plain.decodedBytes);
    demandSame(got.plainBytes, wanted.plainBytes, got.plain.decodedBytes);
  }
  return 0;
}

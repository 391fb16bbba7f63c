// Bytes as a stream, or deflate blocks made from them, for all inflating loops: each road must
// return zlib's result.

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "inflate/inflate_road.hpp"
#include "inflate/plain_stream.hpp"
#include "inflate/windowed_planes.hpp"
#include "tests/inflate/deflate_maker.hpp"

namespace {

using namespace Kelbor::Inflate;
using Bytes = std::vector<std::byte>;

void demand(bool condition) {
  if (!condition) std::abort();
}

/// Stores the planes that it receives.
class ByteSink final : public PlaneSink {
 public:
  void take(std::uint64_t position, std::span<const std::byte> planes) noexcept override {
    taken.resize(static_cast<std::size_t>(position));
    taken.insert(taken.end(), planes.begin(), planes.end());
  }
  Bytes taken;
};

struct ChunkAnswer {
  InflateResult result;
  Bytes bytes;
};

/// One stream as a job, through the smallest window that the loop accepts, in memory of exactly the
/// allowed size.
struct ChunkRun {
  ChunkRun(std::span<const std::byte> stream, const PlaneChunkGeometry& geometry)
      : swap(geometry.workBytes, std::byte{0xd1}),
        window(std::max<std::size_t>(std::min(geometry.inputBound, stream.size()), 4096)),
        input(
            stream.size(),
            [stream](std::uint64_t from, std::span<std::byte> target) {
              std::ranges::copy(stream.subspan(from, target.size()), target.begin());
              return true;
            },
            window),
        job{&input, swap, geometry, &sink} {}

  Bytes swap;
  Bytes window;
  ByteSink sink;
  StreamInput input;
  PlaneJob job;
};

/// Ways to divide a stream into chunks: one more than lanes.
constexpr std::size_t kWays = kMostLanes + 1;

struct Answers {
  std::array<ChunkAnswer, kWays> chunks;
  InflateResult windows;
  Bytes windowBytes;
  PlainResult plain;
  Bytes plainBytes;
};

/// Jobs of a span, in its order.
class JobList final : public PlaneJobs {
 public:
  explicit JobList(std::span<PlaneJob* const> jobs) : jobs_(jobs) {}
  PlaneJob* next() noexcept override {
    if (jobs_.empty()) return nullptr;
    PlaneJob* const job = jobs_.front();
    jobs_ = jobs_.subspan(1);
    return job;
  }
  void end(PlaneJob& /*job*/) noexcept override {}

 private:
  std::span<PlaneJob* const> jobs_;
};

/// Four jobs in three lanes: one stream, divided into chunks in four ways.
Answers answersOf(std::span<const std::byte> stream, std::size_t count, std::uint32_t chunkSize,
                  std::uint32_t window) {
  Answers answers;
  ChunkRun first(stream, PlaneChunkGeometry::of(chunkSize, 4, count));
  ChunkRun second(stream, PlaneChunkGeometry::of(4 * chunkSize + 5, 1, count * 4));
  ChunkRun third(stream, PlaneChunkGeometry::of(65536, 2, count + 1));
  ChunkRun fourth(stream, PlaneChunkGeometry::of(chunkSize + 7, 4, count));
  const std::array<PlaneJob*, kWays> jobs = {&first.job, &second.job, &third.job, &fourth.job};
  JobList list(jobs);
  decodePlaneChunks(list, kMostLanes);
  std::size_t i = 0;
  for (ChunkRun* run : {&first, &second, &third, &fourth}) {
    answers.chunks[i++] = {run->job.result, std::move(run->sink.taken)};
  }
  answers.windowBytes.resize(count * 4);
  answers.windows = inflateWindowedPlanes(stream, answers.windowBytes, window);
  answers.windowBytes.resize(answers.windows.decodedBytes);
  answers.plainBytes.resize(count * 4);
  answers.plain = inflatePlain(stream, answers.plainBytes);
  answers.plainBytes.resize(answers.plain.decodedBytes);
  return answers;
}

void demandSame(const InflateResult& a, const Bytes& aBytes, const InflateResult& b,
                const Bytes& bBytes) {
  demand(a.streamReady == b.streamReady && a.ok == b.ok);
  demand(!a.ok || (a.decodedBytes == b.decodedBytes && aBytes == bBytes));
}

/// The blocks as a stream with a valid header and, if they end, a valid checksum.
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

/// An exact heap block, so that a sanitizer sees one byte too many.
Bytes streamOf(unsigned kind, std::span<const std::uint8_t> data) {
  if (kind == 0) {
    const auto bytes = std::as_bytes(data);
    return {bytes.begin(), bytes.end()};
  }
  if (kind == 1) return wrapped(streamOf(0, data));
  Bytes stream = wrapped(Testing::DeflateMaker(data).make());
  // Without the last bits.
  if (kind == 3 && !data.empty()) {
    stream.resize(stream.size() - std::min<std::size_t>(data.back() / 8U, stream.size()));
    if (!stream.empty()) stream.back() &= static_cast<std::byte>(0xFFU >> (data.back() & 7U));
  }
  return stream;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  // The first bytes set the room and the chunks.
  const std::size_t count = static_cast<std::size_t>(data[0]) << (data[1] & 7U);
  const std::uint32_t chunkSize = 1U << ((data[1] >> 3 & 15U) + 2);
  const std::uint32_t window = data[2] >> 2;
  const Bytes stream = streamOf(data[2] & 3U, {data + 3, size - 3});

  useInflateRoad("zlib");
  const Answers wanted = answersOf(stream, count, chunkSize, window);
  for (const std::string_view road : inflateRoads()) {
    if (road == "zlib") continue;
    useInflateRoad(road);
    const Answers got = answersOf(stream, count, chunkSize, window);
    for (std::size_t i = 0; i < got.chunks.size(); ++i) {
      demandSame(got.chunks[i].result, got.chunks[i].bytes, wanted.chunks[i].result,
                 wanted.chunks[i].bytes);
    }
    demandSame(got.windows, got.windowBytes, wanted.windows, wanted.windowBytes);
    demand(got.plain.code == wanted.plain.code);
    demand(!got.plain.ok() || got.plainBytes == wanted.plainBytes);
  }
  return 0;
}

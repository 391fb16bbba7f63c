#include "inflate/plane_chunks.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "inflate/inflater.hpp"
#include "inflate/limits.hpp"
#include "inflate/zlib_calls.hpp"

namespace Kelbor::Inflate {
namespace {

/// Decodes the plane chunks of a job with zlib: inflates each into planes(), then passes it to the
/// sink.
class PlaneChunks {
 public:
  explicit PlaneChunks(const PlaneJob& job) noexcept : job_(job) {}

  [[nodiscard]] bool done() const noexcept { return position_ == job_.geometry.totalBytes; }
  [[nodiscard]] std::span<std::byte> planes() const noexcept {
    const std::uint64_t left = job_.geometry.totalBytes - position_;
    return job_.swap.first(
        static_cast<std::size_t>(std::min<std::uint64_t>(job_.geometry.chunkBytes, left)));
  }
  void handOver() noexcept {
    const std::span<const std::byte> chunk = planes();
    job_.sink->take(position_, chunk);
    position_ += chunk.size();
  }

 private:
  const PlaneJob& job_;
  std::uint64_t position_ = 0;
};

/// Passes a job's output to its sink, chunk by chunk. The bytes that a match may still refer to
/// stay in front of the chunk being written (`group_`):
///
///     | history, 32 KiB | chunk | excess that the loops write |
///
/// They move to the front when the next chunk has no room.
class PlaneOutput final : public LaneOutput {
 public:
  PlaneOutput(const SymbolLoops& loops, const PlaneJob& job) noexcept
      : LaneOutput(loops), job_(job), isOneOffer_(job.input->size() <= job.geometry.inputBound) {}

  void begin(Lane& lane) noexcept override {
    group_ = lane.outBegin = lane.out = job_.swap.data();
    lane.hardEnd = lane.out + job_.swap.size();
    lane.fastEnd = group_ + nextSize();
    startSum(group_);
  }

  [[nodiscard]] bool makeRoom(Lane& lane, std::uint64_t position) noexcept override {
    while (handedOver_ != job_.geometry.totalBytes && lane.out >= lane.fastEnd) {
      if (!isOneOffer_ && !isWithinOffer(position)) return false;
      sumUpTo(lane.fastEnd);
      job_.sink->take(handedOver_, {group_, lane.fastEnd});
      handedOver_ += static_cast<std::uint64_t>(lane.fastEnd - group_);
      group_ = lane.fastEnd;
      if (static_cast<std::size_t>(lane.hardEnd - group_) < nextSize() + kWriteOver) slide(lane);
      lane.fastEnd = group_ + nextSize();
    }
    const bool isFull = handedOver_ == job_.geometry.totalBytes;
    if (isFull) lane.hardEnd = group_;
    return !isFull || lane.out == group_;
  }

  bool finish(const Lane& /*lane*/) noexcept override {
    return handedOver_ == job_.geometry.totalBytes;
  }

 private:
  [[nodiscard]] std::size_t nextSize() const noexcept {
    return static_cast<std::size_t>(
        std::min(job_.geometry.chunkBytes, job_.geometry.totalBytes - handedOver_));
  }

  /// False if zlib's call for the chunk might not have seen all of its input: the call begins where
  /// the previous one stopped and gets inputBound bytes. It may have stopped anywhere in the last
  /// 64 bits of a chunk, so the earliest start is assumed; zlib decides about chunks in doubt.
  [[nodiscard]] bool isWithinOffer(std::uint64_t position) noexcept {
    constexpr std::uint64_t kUncertainBits = 64;
    const std::uint64_t end = (position + 7) / 8;
    if (end - offerStart_ > job_.geometry.inputBound) return false;
    offerStart_ = std::max(offerStart_, (position - std::min(position, kUncertainBits)) / 8);
    return true;
  }

  void slide(Lane& lane) noexcept {
    std::byte* const front = job_.swap.data();
    const auto written = static_cast<std::size_t>(group_ - front);
    const std::size_t shift = written - std::min(written, kHistoryBytes);
    std::memmove(front, front + shift, static_cast<std::size_t>(lane.out - front) - shift);
    group_ -= shift;
    lane.out -= shift;
    moveSum(-static_cast<std::ptrdiff_t>(shift));
  }

  const PlaneJob& job_;
  bool isOneOffer_;
  std::byte* group_ = nullptr;
  std::uint64_t handedOver_ = 0;
  std::uint64_t offerStart_ = 0;
};

/// Decodes with one zlib call per chunk, which defines the result.
InflateResult decodeWithZlib(const PlaneJob& job) noexcept {
  InflateResult result;
  ZlibCalls zlib(*job.input);
  if (!zlib.isReady()) return result;
  result.streamReady = true;
  result.ok = true;
  PlaneChunks chunks(job);
  // The bytes in place of a chunk's missing planes are part of the result.
  if (!chunks.done()) std::ranges::fill(chunks.planes(), std::byte{0});
  while (!chunks.done()) {
    zlib.offerInput(job.geometry.inputBound);
    const int answer = zlib.run(chunks.planes(), result.decodedBytes);
    // After a failure no call yields anything, so no chunk follows.
    if (isFailure(answer)) {
      result.ok = false;
      break;
    }
    chunks.handOver();
    // Later chunks would only hold values after the decoded bytes.
    if (answer == Z_STREAM_END) break;
  }
  if (!zlib.end()) result.ok = false;
  return result;
}

/// Feeds the lanes with jobs. What the symbol loops refuse is decoded by zlib when it ends.
class JobStreams final : public StreamQueue {
 public:
  JobStreams(const SymbolLoops& loops, PlaneJobs& jobs) noexcept : loops_(loops), jobs_(jobs) {}

  StreamWalk* next() noexcept override {
    PlaneJob* const job = jobs_.next();
    if (!job) return nullptr;
    Slot& slot = *std::ranges::find(slots_, nullptr, &Slot::job);
    slot.job = job;
    slot.output.emplace(loops_, *job);
    return &slot.walk.emplace(loops_, *job->input, *slot.output);
  }

  void end(StreamWalk& walk) noexcept override {
    Slot& slot = *std::ranges::find_if(
        slots_, [&](const Slot& each) { return each.job && &*each.walk == &walk; });
    PlaneJob& job = *std::exchange(slot.job, nullptr);
    if (walk.isDone()) {
      job.result = {.streamReady = true, .ok = true, .decodedBytes = job.geometry.totalBytes};
    } else {
      job.input->rewind();
      job.result = decodeWithZlib(job);
    }
    jobs_.end(job);
  }

 private:
  struct Slot {
    PlaneJob* job = nullptr;
    std::optional<PlaneOutput> output;
    std::optional<StreamWalk> walk;
  };

  const SymbolLoops& loops_;
  PlaneJobs& jobs_;
  std::array<Slot, kMostLanes> slots_;
};

class LoneJob final : public PlaneJobs {
 public:
  explicit LoneJob(PlaneJob& job) noexcept : job_(&job) {}
  PlaneJob* next() noexcept override { return std::exchange(job_, nullptr); }
  void end(PlaneJob& /*job*/) noexcept override {}

 private:
  PlaneJob* job_;
};

}  // namespace

PlaneChunkGeometry PlaneChunkGeometry::of(std::uint32_t chunkSizeInBytes, std::size_t width,
                                          std::uint64_t valueCount) noexcept {
  PlaneChunkGeometry g;
  g.valuesPerChunk = std::max<std::uint64_t>(chunkSizeInBytes / width, 1);
  g.chunkBytes = g.valuesPerChunk * width;
  g.inputBound = deflatedBound(g.chunkBytes, kChunkStreamBytes);
  g.chunkCount = valueCount / g.valuesPerChunk + (valueCount % g.valuesPerChunk != 0 ? 1 : 0);
  g.totalBytes = valueCount * width;
  // At least 64 KiB, so that small chunks move the history once for several of them.
  constexpr std::uint64_t kUsualChunk = 65536;
  g.workBytes =
      std::min(g.totalBytes, kHistoryBytes + std::max(g.chunkBytes, kUsualChunk)) + kWriteOver;
  return g;
}

void decodePlaneChunks(PlaneJobs& jobs, std::size_t lanes) noexcept {
  Inflater inflater;
  if (inflater.isReady()) {
    JobStreams streams(inflater.loops(), jobs);
    inflater.run(streams, std::min(lanes, kMostLanes));
    return;
  }
  while (PlaneJob* const job = jobs.next()) {
    job->result = decodeWithZlib(*job);
    jobs.end(*job);
  }
}

void decodePlaneChunks(PlaneJob& job) noexcept {
  LoneJob only(job);
  decodePlaneChunks(only, 1);
}

}  // namespace Kelbor::Inflate

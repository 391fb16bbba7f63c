#include "inflate/inflater.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include "inflate/block_header.hpp"
#include "inflate/inflate_road.hpp"
#include "platform/idle_pool.hpp"

namespace Kelbor::Inflate {
namespace {

constexpr std::size_t kStreamHeaderBytes = 2;
constexpr std::size_t kChecksumBytes = 4;

/// The loops end this far before the end of the bytes at hand if more input follows: they read
/// ahead.
constexpr std::size_t kInputMargin = 2 * kReadOver;

/// True if zlib accepts the first two bytes as the start of a stream without a dictionary.
bool isPlainZlibHeader(std::span<const std::byte> bytes) noexcept {
  constexpr unsigned kDeflated = 8;
  constexpr unsigned kLargestWindow = 7;  // 2^(7 + 8) bytes
  constexpr unsigned kDictionaryFlag = 0x20;
  if (bytes.size() < kStreamHeaderBytes) return false;
  const auto method = std::to_integer<unsigned>(bytes[0]);
  const auto flags = std::to_integer<unsigned>(bytes[1]);
  return (method & 15U) == kDeflated && (method >> 4U) <= kLargestWindow &&
         (method * 256 + flags) % 31 == 0 && (flags & kDictionaryFlag) == 0;
}

/// Index of the road in use; zlib comes after the loops.
std::atomic<std::size_t> roadInUse{0};

const SymbolLoops* loopsInUse() noexcept {
  const auto loops = symbolLoops();
  const std::size_t road = roadInUse.load(std::memory_order_relaxed);
  return road < loops.size() ? loops[road] : nullptr;
}

}  // namespace

void StreamWalk::begin(Lane& lane) noexcept {
  lane.state = LaneState::kRefused;
  held_ = input_.ahead(kTailBytes + 1);
  if (!isPlainZlibHeader(held_)) return;
  lane.bit = bitAt(held_.data()) + kStreamHeaderBytes * 8;
  output_.begin(lane);
  if (fetch(lane)) lane.state = LaneState::kHeader;
}

/// Moves the window over the input to the lane's position. False if input is missing.
bool StreamWalk::fetch(Lane& lane) noexcept {
  if (isTail_) return false;
  const auto consumed = static_cast<std::size_t>(byteAt(lane.bit) - held_.data());
  input_.consume(consumed);
  held_ = input_.ahead(kTailBytes + 1);
  const std::uint64_t bitInByte = lane.bit & 7;
  if (held_.size() > kTailBytes) {
    lane.bitEnd = bitAt(held_.data() + held_.size() - kInputMargin);
  } else {
    if (held_.size() != input_.unread()) return false;
    if (!held_.empty()) std::memcpy(tail_.data(), held_.data(), held_.size());
    std::memset(tail_.data() + held_.size(), 0, kTailRoom);
    held_ = std::span(tail_).first(held_.size());
    isTail_ = true;
    lane.bitEnd = bitAt(held_.data() + held_.size());
  }
  lane.bit = bitAt(held_.data()) + bitInByte;
  return true;
}

/// True if the next `bytes` may be read, including zeros after the end of the input.
bool StreamWalk::hasInput(Lane& lane, std::size_t bytes) noexcept {
  if (isTail_) return true;
  const std::byte* const end = held_.data() + held_.size();
  return static_cast<std::size_t>(end - byteAt(lane.bit)) >= bytes || fetch(lane);
}

/// False if the output refuses what was decoded.
bool StreamWalk::hasRoom(Lane& lane) noexcept {
  return lane.out < lane.fastEnd || output_.makeRoom(lane, position(lane));
}

/// Position in the stream, in bits.
std::uint64_t StreamWalk::position(const Lane& lane) const noexcept {
  return (input_.size() - input_.unread()) * 8 + (lane.bit - bitAt(held_.data()));
}

bool StreamWalk::advance(Lane& lane) noexcept {
  for (;;) {
    switch (lane.state) {
      case LaneState::kHeader:
        if (hasRoom(lane) && hasInput(lane, kHeaderReads)) {
          output_.settle(lane);
          storedLeft_ = readBlockHeader(lane, bitAt(held_.data() + held_.size()));
        } else {
          lane.state = LaneState::kRefused;
        }
        break;
      case LaneState::kStored:
        copyStored(lane);
        break;
      case LaneState::kSymbols:
        if (lane.bit < lane.bitEnd && lane.out < lane.fastEnd) return true;
        walkSymbols(lane);
        break;
      case LaneState::kTrailer:
        checkEnd(lane);
        break;
      case LaneState::kDone:
        isDone_ = true;
        return false;
      case LaneState::kRefused:
        return false;
    }
  }
}

/// Continues a lane after the loops met an end: of the input at hand, of the fast output, or of all
/// output.
void StreamWalk::walkSymbols(Lane& lane) noexcept {
  bool goesOn = true;
  if (lane.bit >= lane.bitEnd) {
    goesOn = fetch(lane);
  } else {
    goesOn = hasRoom(lane);
    if (goesOn && lane.out >= lane.fastEnd) loops_.runToHardEnd(lane);
  }
  if (!goesOn) lane.state = LaneState::kRefused;
}

void StreamWalk::copyStored(Lane& lane) noexcept {
  while (storedLeft_ != 0) {
    if (!hasRoom(lane)) break;
    std::byte* const end = lane.out < lane.fastEnd ? lane.fastEnd : lane.hardEnd;
    const auto room = static_cast<std::size_t>(end - lane.out);
    if (room == 0 || !hasInput(lane, 1)) break;
    const std::byte* const from = byteAt(lane.bit);
    const auto readable = static_cast<std::size_t>(held_.data() + held_.size() - from);
    const std::size_t count = std::min({storedLeft_, room, readable});
    if (count == 0) break;
    std::memcpy(lane.out, from, count);
    lane.out += count;
    lane.bit += count * 8;
    storedLeft_ -= count;
  }
  lane.state = storedLeft_ != 0   ? LaneState::kRefused
               : lane.isLastBlock ? LaneState::kTrailer
                                  : LaneState::kHeader;
}

void StreamWalk::checkEnd(Lane& lane) noexcept {
  lane.state = LaneState::kRefused;
  if (!hasRoom(lane)) return;
  lane.bit = (lane.bit + 7) & ~std::uint64_t{7};
  if (!hasInput(lane, kChecksumBytes + kReadOver)) return;
  const bool isThere = lane.bit + kChecksumBytes * 8 <= bitAt(held_.data() + held_.size());
  if (!isThere) return;
  if (!output_.finish(lane)) return;
  const auto stored = __builtin_bswap32(static_cast<std::uint32_t>(peekBits(lane.bit)));
  if (stored == output_.checksum(lane)) lane.state = LaneState::kDone;
}

struct Inflater::Lanes {
  std::array<Lane, kMostLanes> lane;
};

// A pool rather than thread-local lanes: those would stay with every host thread that ever read,
// and would be destroyed before a thread's last destructors, which may read.
struct Inflater::IdleLanes {
  static void end(Lanes* lanes) { delete lanes; }
  using Pool = Platform::IdlePool<Lanes, end>;

  static constinit Pool pool;
  static const Pool::Owner owner;
};

constinit Inflater::IdleLanes::Pool Inflater::IdleLanes::pool;
const Inflater::IdleLanes::Pool::Owner Inflater::IdleLanes::owner(pool);

Inflater::Inflater() noexcept : loops_(loopsInUse()) {
  if (!loops_) return;
  lanes_ = IdleLanes::pool.take();
  if (!lanes_) lanes_ = new (std::nothrow) Lanes;
}

Inflater::~Inflater() {
  if (lanes_) IdleLanes::pool.giveBack(lanes_);
}

void Inflater::run(StreamQueue& queue, std::size_t lanes) noexcept {
  Lane* const lane = lanes_->lane.data();
  std::array<StreamWalk*, kMostLanes> live{};
  std::size_t count = 0;
  bool isEmpty = false;
  for (;;) {
    for (std::size_t i = 0; i < count;) {
      if (live[i]->advance(lane[i])) {
        ++i;
        continue;
      }
      queue.end(*live[i]);
      if (i != --count) {
        lane[i] = lane[count];
        live[i] = live[count];
      }
    }
    while (!isEmpty && count < lanes) {
      StreamWalk* const walk = queue.next();
      isEmpty = !walk;
      if (!walk) break;
      walk->begin(lane[count]);
      if (walk->advance(lane[count])) {
        live[count++] = walk;
      } else {
        queue.end(*walk);
      }
    }
    if (count == 0) return;
    loops_->run[count - 1](lane);
  }
}

namespace {

class LoneStream final : public StreamQueue {
 public:
  explicit LoneStream(StreamWalk& walk) noexcept : walk_(&walk) {}
  StreamWalk* next() noexcept override { return std::exchange(walk_, nullptr); }
  void end(StreamWalk& /*walk*/) noexcept override {}

 private:
  StreamWalk* walk_;
};

}  // namespace

std::optional<std::uint64_t> inflateWhole(StreamInput& input,
                                          std::span<std::byte> target) noexcept {
  Inflater inflater;
  if (!inflater.isReady()) return std::nullopt;
  WholeOutput output(inflater.loops(), target);
  StreamWalk walk(inflater.loops(), input, output);
  LoneStream queue(walk);
  inflater.run(queue, 1);
  if (walk.isDone()) return output.size();
  input.rewind();
  return std::nullopt;
}

std::span<const std::string_view> inflateRoads() noexcept {
  static constexpr std::array<std::string_view, 3> kNames = {"avx2", "portable", "zlib"};
  return std::span(kNames).last(symbolLoops().size() + 1);
}

void useInflateRoad(std::string_view road) noexcept {
  const auto place = std::ranges::find(inflateRoads(), road);
  roadInUse.store(static_cast<std::size_t>(place - inflateRoads().begin()),
                  std::memory_order_relaxed);
}

void useBestInflateRoad() noexcept {
  roadInUse.store(0, std::memory_order_relaxed);
}

}  // namespace Kelbor::Inflate

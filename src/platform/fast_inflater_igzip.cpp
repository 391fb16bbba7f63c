#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <new>

#include "platform/fast_inflater.hpp"
#include "platform/idle_pool.hpp"
#include "platform/inflate_engines.hpp"

namespace Kelbor::Platform {
namespace {

// igzip makes larger tables for each block than zlib, which pays off from about these sizes.
constexpr std::uint64_t kWorthwhileInput = 1024;
constexpr std::uint64_t kWorthwhileOutput = 8192;
// igzip counts in 32 bits, some of them signed.
constexpr std::uint64_t kLargestInput = 2147483647;
constexpr std::uint64_t kLargestOutputStep = 1073741824;

constexpr std::uint64_t kHeaderBytes = 2;
// More than the longest header of a block: each call can get somewhere.
constexpr std::uint64_t kLookAhead = 4096;

// igzip decodes the last eight bytes of its input with a slow loop, in which a long match costs ten
// times as much. A plane of zeros may be in those bytes as a whole, so streams up to this size are
// decoded from a copy with some bytes behind it.
constexpr std::size_t kLargestPadded = 32768;
constexpr std::size_t kPadding = 16;

enum class Use { always, whereWorthwhile, never };
std::atomic<Use> use{Use::whereWorthwhile};

bool isWanted(std::uint64_t input, std::uint64_t room) noexcept {
  switch (use.load(std::memory_order_relaxed)) {
    case Use::always:
      return true;
    case Use::whereWorthwhile:
      return input >= kWorthwhileInput || room >= kWorthwhileOutput;
    case Use::never:
      break;
  }
  return false;
}

/// igzip reads through its pointer only, but the pointer is not const.
std::uint8_t* writable(std::span<const std::byte> bytes) noexcept {
  return reinterpret_cast<std::uint8_t*>(const_cast<std::byte*>(bytes.data()));
}

/// Takes the whole bytes out of igzip's bit buffer, which belong to the input of this call: before
/// a stored block igzip would give them back itself, in a later call, to input that has moved on.
void giveWholeBytesBack(inflate_state& state) noexcept {
  const std::int32_t bits = std::max(state.read_in_length, 0);
  state.avail_in += static_cast<std::uint32_t>(bits / 8);
  state.read_in_length = std::min(state.read_in_length, bits % 8);
  state.read_in &= (std::uint64_t{1} << (bits % 8)) - 1;
}

/// Whether zlib would take the first two bytes for the start of a stream that needs no dictionary.
bool isPlainZlibHeader(std::span<const std::byte> input) noexcept {
  if (input.size() < 2) return false;
  const auto method = std::to_integer<unsigned>(input[0]);
  const auto flags = std::to_integer<unsigned>(input[1]);
  constexpr unsigned kDeflated = 8;
  constexpr unsigned kLargestWindow = 7;  // 2^(7 + 8) bytes
  constexpr unsigned kDictionaryFlag = 0x20;
  return (method & 15U) == kDeflated && (method >> 4U) <= kLargestWindow &&
         (method * 256 + flags) % 31 == 0 && (flags & kDictionaryFlag) == 0;
}

}  // namespace

struct FastInflater::Engine {
  inflate_state state;
  std::array<std::byte, kLargestPadded + kPadding> padded;

  /// After a run without error: the checksum was reached and agrees.
  [[nodiscard]] bool hasEnded() const noexcept { return state.block_state == ISAL_BLOCK_FINISH; }

  [[nodiscard]] std::span<const std::byte> pad(std::span<const std::byte> bytes) noexcept {
    std::memcpy(padded.data(), bytes.data(), bytes.size());
    std::memset(padded.data() + bytes.size(), 0, kPadding);
    return std::span(padded).first(bytes.size() + kPadding);
  }
};

// A state takes about 90 KiB, so used ones are kept. Not thread-local: that would hold one for each
// thread of the host that ever read, and could be gone when a thread reads at its very end.
struct FastInflater::IdleEngines {
  static void end(Engine* engine) { delete engine; }
  using Pool = IdlePool<Engine, end>;

  static constinit Pool pool;
  static const Pool::Owner owner;
};

constinit FastInflater::IdleEngines::Pool FastInflater::IdleEngines::pool;
const FastInflater::IdleEngines::Pool::Owner FastInflater::IdleEngines::owner(pool);

std::vector<InflateEngine> inflateEngines() {
  return {InflateEngine::igzip, InflateEngine::zlib};
}

void useInflateEngine(InflateEngine engine) {
  use.store(engine == InflateEngine::igzip ? Use::always : Use::never, std::memory_order_relaxed);
}

void useBestInflateEngine() {
  use.store(Use::whereWorthwhile, std::memory_order_relaxed);
}

FastInflater::FastInflater(StreamInput& input, std::uint64_t room) noexcept : input_(input) {
  if (!isWanted(input.size(), room) || input.size() > kLargestInput) return;
  if (!isPlainZlibHeader(input.ahead(kHeaderBytes))) return;
  engine_ = IdleEngines::pool.take();
  if (!engine_) engine_ = new (std::nothrow) Engine;
  if (!engine_) return;
  ::isal_inflate_init(&engine_->state);
  // igzip would hold distances against the window size that the header tells, zlib does not.
  engine_->state.crc_flag = ISAL_ZLIB_NO_HDR_VER;
  input.consume(kHeaderBytes);
}

FastInflater::~FastInflater() {
  if (engine_) IdleEngines::pool.giveBack(engine_);
}

/// One call of igzip; false for an error, or if it moved nothing. `target` shrinks to what it left
/// unwritten.
bool FastInflater::run(std::span<std::byte>& target) noexcept {
  inflate_state& state = engine_->state;
  // Enough to fill the target at once: for a rest of it igzip would decode far ahead.
  const std::span<const std::byte> bytes =
      input_.ahead(target.size() + target.size() / 8 + kLookAhead);
  const std::size_t granted = std::min<std::size_t>(target.size(), kLargestOutputStep);
  state.next_in = writable(bytes);
  state.avail_in = static_cast<std::uint32_t>(bytes.size());
  state.next_out = reinterpret_cast<std::uint8_t*>(target.data());
  state.avail_out = static_cast<std::uint32_t>(granted);
  const int code = ::isal_inflate(&state);
  giveWholeBytesBack(state);
  if (state.avail_in > bytes.size()) return false;  // more than it was given by this call
  const std::size_t consumed = bytes.size() - state.avail_in;
  const std::size_t written = granted - state.avail_out;
  input_.consume(consumed);
  target = target.subspan(written);
  return code == ISAL_DECOMP_OK && (consumed != 0 || written != 0);
}

bool FastInflater::fill(std::span<std::byte> target) noexcept {
  while (!target.empty()) {
    if (!run(target)) return false;
  }
  return true;
}

std::optional<std::uint64_t> FastInflater::inflateAll(std::span<std::byte> target) noexcept {
  // In one go igzip decodes straight into the target, not by way of its own 64 KiB.
  inflate_state& state = engine_->state;
  std::span<const std::byte> bytes = input_.ahead(input_.unread());
  if (bytes.size() != input_.unread()) return std::nullopt;
  const bool isPadded = bytes.size() <= kLargestPadded;
  if (isPadded) bytes = engine_->pad(bytes);
  state.next_in = writable(bytes);
  state.avail_in = static_cast<std::uint32_t>(bytes.size());
  state.next_out = reinterpret_cast<std::uint8_t*>(target.data());
  state.avail_out =
      static_cast<std::uint32_t>(std::min<std::size_t>(target.size(), kLargestOutputStep));
  if (::isal_inflate_stateless(&state) != ISAL_DECOMP_OK) return std::nullopt;
  const bool tookPadding = isPadded && state.avail_in < kPadding;
  if (tookPadding) return std::nullopt;
  return state.total_out;
}

std::uint64_t FastInflater::position() const noexcept {
  return input_.size() - input_.unread();
}

std::uint64_t FastInflater::readAhead() const noexcept {
  const inflate_state& state = engine_->state;
  return static_cast<std::uint64_t>(state.tmp_out_valid - state.tmp_out_processed);
}

bool FastInflater::endsHere() noexcept {
  // Room for one byte takes igzip over the end of the last block, and to the checksum.
  std::byte next;
  std::span<std::byte> room(&next, 1);
  while (!engine_->hasEnded()) {
    if (!run(room) || room.empty()) return false;
  }
  return true;
}

}  // namespace Kelbor::Platform

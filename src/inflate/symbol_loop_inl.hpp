// The loops of SymbolLoops. Each source that is compiled for a kind of processor includes this
// file. All names are local to that source: the linker must not merge code for different
// processors.
//
// Before including it, the source includes what this file needs and defines in the unnamed
// namespace of Kelbor::Inflate:
//   std::uint64_t lowBits(std::uint64_t bits, unsigned count): its low `count` bits, below 64
//   copy32(std::byte* to, const std::byte* from): copies 32 bytes that don't overlap

namespace Kelbor::Inflate {
namespace {

/// Literals that a turn decodes after the first one, without a branch. Several save branches that
/// would often be mispredicted. But each look-up takes its time, also where no literal follows; the
/// work on other lanes hides that, and a single lane has none.
template <std::size_t kLanes>
constexpr int kMoreLiterals = kLanes == 1 ? 1 : 3;
constexpr unsigned kTurnBits = 56;
static_assert((kMoreLiterals<2> + 2) * kLiteralBits <= kTurnBits,
              "a turn's literals, and a look ahead");
static_assert(kLiteralBits + 5 + kDistanceBits + 13 + kLiteralBits <= kTurnBits, "and a match's");

constexpr unsigned kLongestMatch = 258;
constexpr unsigned kCopyBytes = 32;

inline std::uint32_t literalAt(const Lane& lane, std::uint64_t bits) noexcept {
  return lane.tables.literals[bits & ((1U << kLiteralBits) - 1)];
}

inline unsigned lengthCodeBits(std::uint32_t entry) noexcept {
  return entry >> 25 & 31U;
}

/// Copies a match of any distance, including one that overlaps its own output. May write up to 31
/// bytes after it.
inline void copyMatch(std::byte* out, std::size_t distance, std::size_t length) noexcept {
  const std::byte* from = out - distance;
  std::byte* const end = out + length;
  if (distance >= kCopyBytes) {
    do {
      copy32(out, from);
      out += kCopyBytes;
      from += kCopyBytes;
    } while (out < end);
    return;
  }
  // Repeats the match's bytes in 32 bytes, then advances by whole periods.
  std::byte pattern[kCopyBytes];
  if (distance == 1) {
    std::memset(pattern, std::to_integer<int>(*from), kCopyBytes);
  } else {
    std::size_t from0 = 0;
    for (std::byte& b : pattern) {
      b = from[from0];
      from0 = from0 + 1 == distance ? 0 : from0 + 1;
    }
  }
  const std::size_t step = kCopyBytes / distance * distance;
  do {
    copy32(out, pattern);
    out += step;
  } while (out < end);
}

/// A literal, a match, or the end of a block's symbols.
struct Symbol {
  enum Kind : std::uint8_t { kIsLiteral, kIsMatch, kIsEnd, kIsRefused } kind;
  std::byte literal;
  unsigned bits;  ///< consumed input
  unsigned length;
  std::size_t distance;
};

/// Decodes any symbol with all checks: long code words, undefined ones, distances.
inline Symbol decodeSymbol(const Lane& lane) noexcept {
  std::uint64_t bits = peekBits(lane.bit);
  std::uint32_t entry = literalAt(lane, bits);
  if ((entry & kSpecial) != 0 && (entry & kLiteral) == 0) {
    unsigned length = lengthCodeBits(entry);
    if (length != 0) return {Symbol::kIsEnd, {}, length, 0, 0};
    const auto found = lane.tables.literalCode.find(bits);
    if (found.symbol == kEndOfBlock) return {Symbol::kIsEnd, {}, found.length, 0, 0};
    if (found.symbol >= kLiteralSymbols - 2) return {Symbol::kIsRefused, {}, 0, 0, 0};
    entry = literalEntry(found.symbol, found.length);
  }
  if ((entry & kLiteral) != 0) {
    return {Symbol::kIsLiteral, static_cast<std::byte>(entry >> 16), entry & 63U, 0, 0};
  }
  const unsigned lengthBits = entry >> 8 & 63U;
  const auto length = static_cast<unsigned>((entry >> 16 & 511U) +
                                            (lowBits(bits, lengthBits) >> lengthCodeBits(entry)));
  bits >>= lengthBits;
  std::uint32_t far = lane.tables.distances[bits & ((1U << kDistanceBits) - 1)];
  if (far == 0) {
    const auto found = lane.tables.distanceCode.find(bits);
    if (found.symbol < kDistanceSymbols) far = distanceEntry(found.symbol, found.length);
    if (far < 0x10000) return {Symbol::kIsRefused, {}, 0, 0, 0};
  }
  const std::size_t distance =
      (far >> 16) + static_cast<std::size_t>(lowBits(bits, far & 63U) >> (far >> 8 & 63U));
  if (distance > static_cast<std::size_t>(lane.out - lane.outBegin)) {
    return {Symbol::kIsRefused, {}, 0, 0, 0};
  }
  return {Symbol::kIsMatch, {}, lengthBits + (far & 63U), length, distance};
}

/// Decodes one symbol that the fast loop leaves out; false if the lane leaves the state kSymbols.
__attribute__((noinline)) bool careStep(Lane& lane) noexcept {
  const Symbol symbol = decodeSymbol(lane);
  lane.bit += symbol.bits;
  switch (symbol.kind) {
    case Symbol::kIsLiteral:
      *lane.out++ = symbol.literal;
      return true;
    case Symbol::kIsMatch:
      copyMatch(lane.out, symbol.distance, symbol.length);
      lane.out += symbol.length;
      return true;
    case Symbol::kIsEnd:
      lane.state = lane.isLastBlock ? LaneState::kTrailer : LaneState::kHeader;
      return false;
    case Symbol::kIsRefused:
      break;
  }
  lane.state = LaneState::kRefused;
  return false;
}

void runToHardEnd(Lane& lane) noexcept {
  while (lane.bit < lane.bitEnd) {
    const Symbol symbol = decodeSymbol(lane);
    if (symbol.kind == Symbol::kIsEnd || symbol.kind == Symbol::kIsRefused) {
      static_cast<void>(careStep(lane));
      return;
    }
    const std::size_t size = symbol.kind == Symbol::kIsMatch ? symbol.length : 1;
    if (size > static_cast<std::size_t>(lane.hardEnd - lane.out)) {
      lane.state = LaneState::kRefused;
      return;
    }
    lane.bit += symbol.bits;
    if (symbol.kind == Symbol::kIsLiteral) {
      *lane.out++ = symbol.literal;
    } else if (size + kCopyBytes <= static_cast<std::size_t>(lane.hardEnd - lane.out)) {
      copyMatch(lane.out, symbol.distance, size);
      lane.out += size;
    } else {
      for (std::size_t i = 0; i < size; ++i, ++lane.out) *lane.out = *(lane.out - symbol.distance);
    }
  }
}

template <class F, std::size_t... I>
__attribute__((always_inline)) inline void forEach(std::index_sequence<I...>, F&& f) {
  (f(std::integral_constant<std::size_t, I>{}), ...);
}

#define MORVEX_INLINE_LAMBDA __attribute__((always_inline))

/// The input of one of several lanes: a position only, in one register.
class PositionBits {
 public:
  explicit PositionBits(const Lane& lane) noexcept : bit_(lane.bit) {}

  /// At least kTurnBits bits from the position.
  [[nodiscard]] std::uint64_t get() noexcept { return peekBits(bit_); }
  /// Consumes `used` bits of the last get(); `rest` is what follows them.
  void take(std::uint64_t /*rest*/, unsigned used) noexcept { bit_ += used; }
  [[nodiscard]] std::uint64_t position() const noexcept { return bit_; }

 private:
  std::uint64_t bit_;
};

/// The input of a single lane. The bit buffer keeps the next load independent of how many bits the
/// last symbol used. With several lanes the others hide that latency, and buffers would exceed the
/// registers.
class BufferedBits {
 public:
  explicit BufferedBits(const Lane& lane) noexcept
      : next_(byteAt(lane.bit)), buffer_(0), count_(0) {
    static_cast<void>(get());
    take(buffer_ >> (lane.bit & 7), static_cast<unsigned>(lane.bit & 7));
  }

  [[nodiscard]] std::uint64_t get() noexcept {
    std::uint64_t word;
    std::memcpy(&word, next_, sizeof word);
    // Bits above the count already are those of the next byte, so OR-ing them again changes
    // nothing.
    buffer_ |= word << count_;
    next_ += (63 - count_) >> 3;
    count_ |= kTurnBits;
    return buffer_;
  }
  void take(std::uint64_t rest, unsigned used) noexcept {
    buffer_ = rest;
    count_ -= used;
  }
  [[nodiscard]] std::uint64_t position() const noexcept { return bitAt(next_) - count_; }

 private:
  const std::byte* next_;
  std::uint64_t buffer_;
  unsigned count_;
};

/// Decodes kLanes streams in turns. Each symbol depends on the one before: a look-up, a shift, the
/// next look-up. A single stream leaves the processor waiting; interleaved streams fill the time. A
/// turn decodes one match of a lane, or one literal and up to kMoreLiterals more without a branch.
/// The entry of a lane's next symbol is looked up at the end of its turn, so that its latency
/// passes during the other lanes' turns.
template <std::size_t kLanes, std::size_t... I>
void runLanes(Lane* __restrict lanes, std::index_sequence<I...>) noexcept {
  using Bits = std::conditional_t<kLanes == 1, BufferedBits, PositionBits>;
  using MoreLiterals = std::make_index_sequence<kMoreLiterals<kLanes>>;
  Bits input[kLanes] = {Bits(lanes[I])...};
  std::byte* out[kLanes];
  std::uint32_t next[kLanes];  // entry of the next symbol
  const auto each = [](auto&& f) MORVEX_INLINE_LAMBDA { forEach(std::index_sequence<I...>{}, f); };
  each([&](auto j) MORVEX_INLINE_LAMBDA {
    out[j] = lanes[j].out;
    next[j] = literalAt(lanes[j], input[j].get());
  });
  bool hasLeft = false;
  while (!hasLeft) {
    // A turn consumes at most 64 bits and writes at most 258 bytes, so this many turns need no
    // check.
    std::uint64_t turns = ~std::uint64_t{0};
    bool isAtEnd = false;
    each([&](auto j) MORVEX_INLINE_LAMBDA {
      const Lane& lane = lanes[j];
      const std::uint64_t bit = input[j].position();
      isAtEnd |= bit >= lane.bitEnd || out[j] >= lane.fastEnd;
      const std::uint64_t byInput = (lane.bitEnd - bit) >> 6;
      const std::uint64_t byOutput = static_cast<std::uint64_t>(lane.fastEnd - out[j]) >> 9;
      turns = byInput < turns ? byInput : turns;
      turns = byOutput < turns ? byOutput : turns;
    });
    if (isAtEnd) break;
    ++turns;
    do {
      each([&](auto j) MORVEX_INLINE_LAMBDA {
        Lane& lane = lanes[j];
        std::uint64_t bits = input[j].get();
        const std::uint32_t entry = next[j];
        if (__builtin_expect(static_cast<std::int32_t>(entry) < 0, 1)) {
          std::uint32_t taken = entry;  // its low byte sums the bits
          bits >>= entry & 63U;
          *out[j]++ = static_cast<std::byte>(entry >> 16);
          forEach(MoreLiterals{}, [&](auto) MORVEX_INLINE_LAMBDA {
            // An entry that is no literal has 0 bits here, and the next output overwrites its byte.
            const std::uint32_t more = literalAt(lane, bits);
            *out[j] = static_cast<std::byte>(more >> 16);
            bits >>= more & 63U;
            taken += more;
            out[j] += more >> 31;
          });
          next[j] = literalAt(lane, bits);
          input[j].take(bits, taken & 255U);
          return;
        }
        const std::uint64_t first = bits;
        const unsigned lengthBits = entry >> 8 & 255U;
        std::uint64_t length =
            (entry >> 16 & 511U) + (lowBits(bits, lengthBits) >> lengthCodeBits(entry));
        bits >>= lengthBits & 63U;
        const std::uint32_t far = lane.tables.distances[bits & ((1U << kDistanceBits) - 1)];
        const std::uint64_t rest = bits >> (far & 63U);
        next[j] = literalAt(lane, rest);
        const std::uint64_t distance =
            (far >> 16) + (lowBits(bits, far & 255U) >> (far >> 8 & 63U));
        unsigned used = lengthBits + (far & 255U);
        const bool isTooFar = static_cast<std::uint64_t>(out[j] - lane.outBegin) < distance;
        if (__builtin_expect(length > kCopyBytes || distance < 16 || isTooFar, 0)) {
          if (__builtin_expect((entry & kSpecial) != 0 || far == 0 || isTooFar, 0)) {
            lane.bit = input[j].position();
            lane.out = out[j];
            hasLeft |= !careStep(lane);
            input[j] = Bits(lane);
            out[j] = lane.out;
            next[j] = literalAt(lane, input[j].get());
            return;
          }
          if (length == kLongestMatch) {
            // A run: the same code words may follow once or several times more.
            const std::uint64_t differs = first ^ (first >> used);
            const unsigned known = kTurnBits - used;
            const unsigned same =
                differs == 0 ? known : static_cast<unsigned>(std::countr_zero(differs));
            std::uint64_t more = (same < known ? same : known) / used;
            const std::uint64_t room =
                out[j] < lane.fastEnd ? static_cast<std::uint64_t>(lane.fastEnd - out[j]) : 0;
            if (more > room / kLongestMatch) more = room / kLongestMatch;
            length += more * kLongestMatch;
            used += used * static_cast<unsigned>(more);
            turns = 1;  // `turns` assumed shorter matches
          }
          copyMatch(out[j], distance, length);
          out[j] += length;
          input[j].take(first >> used, used);
          if (length > kLongestMatch) next[j] = literalAt(lane, input[j].get());
          return;
        }
        // For distances from 16: two halves, since the second may overlap the first.
        std::memcpy(out[j], out[j] - distance, 16);
        std::memcpy(out[j] + 16, out[j] + 16 - distance, 16);
        out[j] += length;
        input[j].take(rest, used);
      });
    } while (--turns != 0 && !hasLeft);
  }
  each([&](auto j) MORVEX_INLINE_LAMBDA {
    lanes[j].bit = input[j].position();
    lanes[j].out = out[j];
  });
}

#undef MORVEX_INLINE_LAMBDA

template <std::size_t kLanes>
void runLanes(Lane* lanes) noexcept {
  runLanes<kLanes>(lanes, std::make_index_sequence<kLanes>{});
}

}  // namespace
}  // namespace Kelbor::Inflate

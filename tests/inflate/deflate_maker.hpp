#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Kelbor::Inflate::Testing {

/// Makes deflate blocks of whatever bytes it is given: streams that get far, with one thing wrong
/// here and there. Each byte decides something: kinds of blocks, codes that are complete, lone,
/// incomplete or over-full, symbols that mean nothing, distances around the limits.
class DeflateMaker {
 public:
  explicit DeflateMaker(std::span<const std::uint8_t> choices) : choices_(choices) {}

  /// The blocks, without header and checksum.
  std::vector<std::byte> make() {
    bool isLast = false;
    while (!isLast) {
      isLast = choices_.empty() || stream_.size() > 100'000 || pick(16) == 0;
      makeBlock(isLast);
    }
    return std::move(stream_);
  }

 private:
  using Lengths = std::vector<unsigned>;

  /// Below `count`, which is at most 65536.
  unsigned pick(unsigned count) {
    unsigned value = 0;
    for (unsigned range = 1; range < count; range <<= 8) value = value << 8 | nextByte();
    return value % count;
  }
  unsigned nextByte() {
    if (choices_.empty()) return 0;
    const unsigned byte = choices_.front();
    choices_ = choices_.subspan(1);
    return byte;
  }
  bool isRare() { return pick(256) == 255; }

  void put(std::uint64_t bits, unsigned count) {
    for (unsigned i = 0; i < count; ++i, ++used_) {
      if (used_ % 8 == 0) stream_.push_back(std::byte{0});
      stream_.back() |= static_cast<std::byte>((bits >> i & 1U) << (used_ % 8));
    }
  }

  struct Code {
    Lengths lengths;
    Lengths words;
    Lengths used;  ///< symbols that have a word

    explicit Code(Lengths ofSymbols) : lengths(std::move(ofSymbols)), words(lengths.size()) {
      unsigned next = 0;
      for (unsigned length = 1; length <= 15; ++length, next <<= 1) {
        for (unsigned s = 0; s < lengths.size(); ++s) {
          if (lengths[s] == length) words[s] = next++;
        }
      }
      for (unsigned s = 0; s < lengths.size(); ++s) {
        if (lengths[s] != 0) used.push_back(s);
      }
    }
  };
  void putSymbol(const Code& code, unsigned symbol) {
    for (unsigned i = code.lengths[symbol]; i-- > 0;) put(code.words[symbol] >> i & 1U, 1);
  }

  /// Lengths of a complete code of `leaves` words, by splitting one word after the other.
  Lengths splitWords(unsigned leaves, unsigned longest) {
    Lengths words = {0};
    while (words.size() < leaves) {
      unsigned at = pick(static_cast<unsigned>(words.size()));
      while (words[at] == longest) at = (at + 1) % static_cast<unsigned>(words.size());
      words.push_back(++words[at]);
    }
    return words;
  }

  /// Lengths for `count` symbols, of which `wanted` shall have words.
  Lengths someLengths(unsigned count, unsigned longest, const Lengths& wanted) {
    Lengths lengths(count, 0);
    const unsigned most = std::min(count, 1U << longest);
    const unsigned range = pick(3) == 0 ? most : std::min(most, 12U);
    const Lengths words = splitWords(
        std::max<unsigned>(pick(range) + 1, static_cast<unsigned>(wanted.size())), longest);
    for (std::size_t i = 0; i < words.size(); ++i) {
      unsigned symbol = i < wanted.size() ? wanted[i] : pick(count);
      while (lengths[symbol] != 0) symbol = (symbol + 1) % count;
      // A code of one word is the word of no bits: of one bit in deflate, where it is allowed.
      lengths[symbol] = std::max(words[i], 1U);
    }
    if (isRare()) lengths[pick(count)] = pick(longest + 1);
    return lengths;
  }

  void makeBlock(bool isLast) {
    const unsigned kind = pick(16);
    put(isLast ? 1 : 0, 1);
    if (kind == 15 && isRare()) {
      put(3, 2);
    } else if (kind < 3) {
      put(0, 2);
      makeStored();
    } else if (kind < 6) {
      put(1, 2);
      Lengths literals(288, 8);
      std::fill(literals.begin() + 144, literals.begin() + 256, 9);
      std::fill(literals.begin() + 256, literals.begin() + 280, 7);
      makeTokens(Code(std::move(literals)), Code(Lengths(32, 5)));
    } else {
      put(2, 2);
      makeDynamic();
    }
  }

  void makeStored() {
    const unsigned size = isRare() ? pick(65536) : pick(40);
    used_ = 0;
    put(size, 16);
    put(isRare() ? size : ~size & 0xFFFFU, 16);
    for (unsigned i = 0; i < size; ++i) stream_.push_back(static_cast<std::byte>(nextByte()));
    inflated_ += size;
  }

  void makeDynamic() {
    const bool isOdd = isRare();
    const unsigned literalCount = isOdd ? 257 + pick(32) : 257 + pick(30);
    const unsigned distanceCount = isOdd ? 1 + pick(32) : 1 + pick(30);
    const Lengths end = isRare() ? Lengths{} : Lengths{256};
    const Code literals(someLengths(literalCount, 15, end));
    const Code distances(pick(6) == 0 ? Lengths(distanceCount, 0)
                                      : someLengths(distanceCount, 15, {}));
    put(literalCount - 257, 5);
    put(distanceCount - 1, 5);
    Lengths all = literals.lengths;
    all.insert(all.end(), distances.lengths.begin(), distances.lengths.end());
    putLengths(all);
    makeTokens(literals, distances);
  }

  /// Runs become repetitions, mostly, and the code that they are written in has what is used.
  void putLengths(const Lengths& all) {
    struct Item {
      unsigned symbol, extra, extraBits;
    };
    std::vector<Item> items;
    for (std::size_t i = 0; i < all.size();) {
      std::size_t run = 1;
      while (i + run < all.size() && all[i + run] == all[i]) ++run;
      if (all[i] == 0 && run >= 3 && pick(8) != 0) {
        const auto taken = static_cast<unsigned>(std::min<std::size_t>(run, 138));
        items.push_back(taken > 10 ? Item{18, taken - 11, 7} : Item{17, taken - 3, 3});
        i += taken;
      } else if (i > 0 && all[i] == all[i - 1] && run >= 3 && pick(8) != 0) {
        const auto taken = static_cast<unsigned>(std::min<std::size_t>(run, 6));
        items.push_back({16, taken - 3, 2});
        i += taken;
      } else {
        items.push_back({all[i++], 0, 0});
      }
    }
    if (isRare()) items.insert(items.begin(), {16, pick(4), 2});
    if (isRare()) items.push_back({18, pick(128), 7});
    Lengths wanted;
    for (const Item& item : items) {
      if (std::ranges::find(wanted, item.symbol) == wanted.end()) wanted.push_back(item.symbol);
    }
    const Code code(someLengths(19, 7, wanted));
    static constexpr std::array<unsigned, 19> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                        11, 4,  12, 3, 13, 2, 14, 1, 15};
    unsigned count = 19;
    while (count > 4 && code.lengths[kOrder[count - 1]] == 0 && pick(4) != 0) --count;
    put(count - 4, 4);
    for (unsigned i = 0; i < count; ++i) put(code.lengths[kOrder[i]], 3);
    for (const Item& item : items) {
      putSymbol(code, item.symbol);
      put(item.extra, item.extraBits);
    }
  }

  void makeTokens(const Code& literals, const Code& distances) {
    if (literals.used.empty()) return;
    for (unsigned left = pick(isRare() ? 4000 : 60); left != 0; --left) {
      const unsigned symbol = literals.used[pick(static_cast<unsigned>(literals.used.size()))];
      if (symbol == 256) continue;
      // The same again and again makes runs.
      const unsigned times = symbol == 285 || isRare() ? 1 + pick(300) : 1;
      const unsigned start = pick(65536);
      for (unsigned i = 0; i < times; ++i) makeToken(literals, distances, symbol, start);
    }
    if (literals.lengths[256] != 0 && !isRare()) putSymbol(literals, 256);
  }

  void makeToken(const Code& literals, const Code& distances, unsigned symbol, unsigned start) {
    const bool isMatch = symbol > 256;
    const bool canRefer =
        !distances.used.empty() && smallestDistance(distances.used.front()) <= inflated_;
    if ((symbol >= 286 || (isMatch && !canRefer)) && start % 256 != 255) return;
    putSymbol(literals, symbol);
    if (symbol < 256) {
      ++inflated_;
      return;
    }
    const unsigned lengthBits = symbol < 265 || symbol >= 285 ? 0 : (symbol - 261) / 4;
    put(start, lengthBits);
    if (distances.used.empty()) return;
    // The farthest symbol that may still lie within what there is, or whichever.
    unsigned place = start % static_cast<unsigned>(distances.used.size());
    if (start % 256 != 255) {
      while (place > 0 && smallestDistance(distances.used[place]) > inflated_) --place;
    }
    const unsigned far = distances.used[place];
    putSymbol(distances, far);
    const unsigned extraBits = far < 4 || far >= 30 ? 0 : far / 2 - 1;
    std::uint64_t extra = start >> 3 & ((1U << extraBits) - 1);
    const std::uint64_t smallest = smallestDistance(far);
    if (start % 251 != 0 && smallest + extra > inflated_ && inflated_ >= smallest) {
      extra = inflated_ - smallest + (start % 97 == 0 ? 1 : 0);  // to the very start, or beyond
    }
    put(extra, extraBits);
    inflated_ += symbol == 285 ? 258 : 3;  // at least
  }

  static std::uint64_t smallestDistance(unsigned symbol) {
    return symbol < 4 ? symbol + 1 : ((2ULL + (symbol & 1U)) << (symbol / 2 - 1)) + 1;
  }

  std::span<const std::uint8_t> choices_;
  std::vector<std::byte> stream_;
  unsigned used_ = 0;
  std::uint64_t inflated_ = 0;
};

}  // namespace Kelbor::Inflate::Testing

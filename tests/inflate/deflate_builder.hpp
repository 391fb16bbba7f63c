#pragma once

#include <zlib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace Kelbor::Inflate::Testing {

/// Makes zlib streams bit by bit, also such as no compressor would make.
class DeflateBuilder {
 public:
  using Bytes = std::vector<std::byte>;
  using Lengths = std::vector<unsigned>;

  /// A literal, a match, or with `isBare` a symbol of the literal/length code and nothing behind
  /// it.
  struct Token {
    unsigned value;  ///< literal, length of the match, symbol
    unsigned distance = 0;
    bool isBare = false;
  };
  using Tokens = std::vector<Token>;
  static constexpr Token kEndOfBlock{256, 0, true};

  explicit DeflateBuilder(unsigned method = 0x78, unsigned flags = 0x01) { bytes({method, flags}); }

  DeflateBuilder& stored(const Bytes& content, bool isLast = false, unsigned damage = 0) {
    put(isLast ? 1 : 0, 3);
    align();
    const auto size = static_cast<unsigned>(content.size());
    bytes({size & 255U, size >> 8, (~size & 255U) ^ damage, (~size >> 8) & 255U});
    for (const std::byte b : content) {
      stream_.push_back(b);
      inflated_.push_back(b);
    }
    return *this;
  }

  DeflateBuilder& fixed(const Tokens& tokens, bool isLast = false) {
    Lengths literals(288, 8);
    for (std::size_t i = 144; i < 256; ++i) literals[i] = 9;
    for (std::size_t i = 256; i < 280; ++i) literals[i] = 7;
    put((isLast ? 1 : 0) | 2, 3);
    return tokensOf(tokens, literals, Lengths(30, 5));
  }

  /// 257 to 288 lengths of literals, 1 to 32 of distances; nothing says that they make a code.
  DeflateBuilder& dynamic(const Lengths& literals, const Lengths& distances, const Tokens& tokens,
                          bool isLast = false) {
    put((isLast ? 1 : 0) | 4, 3);
    put(literals.size() - 257, 5);
    put(distances.size() - 1, 5);
    put(15, 4);
    // A code of four bits for each length, none for repeats.
    for (int i = 0; i < 19; ++i) put(i < 3 ? 0 : 4, 3);
    for (const Lengths* lengths : {&literals, &distances}) {
      for (const unsigned length : *lengths) putReversed(length, 4);
    }
    return tokensOf(tokens, literals, distances);
  }

  DeflateBuilder& raw(std::uint64_t bits, unsigned count) {
    put(bits, count);
    return *this;
  }

  /// The stream with the checksum of what it inflates to.
  [[nodiscard]] Bytes finish(unsigned checksumDamage = 0) {
    align();
    const auto sum = ::adler32(1, reinterpret_cast<const Bytef*>(inflated_.data()),
                               static_cast<uInt>(inflated_.size())) ^
                     checksumDamage;
    for (const int shift : {24, 16, 8, 0}) bytes({static_cast<unsigned>(sum >> shift) & 255U});
    return stream_;
  }
  [[nodiscard]] const Bytes& inflated() const { return inflated_; }

 private:
  void bytes(std::initializer_list<unsigned> values) {
    for (const unsigned value : values) stream_.push_back(static_cast<std::byte>(value));
  }
  void put(std::uint64_t bits, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      if (used_ % 8 == 0) stream_.push_back(std::byte{0});
      stream_.back() |= static_cast<std::byte>((bits >> i & 1U) << (used_ % 8));
      ++used_;
    }
  }
  void putReversed(unsigned bits, unsigned count) {
    for (unsigned i = count; i-- > 0;) put(bits >> i & 1U, 1);
  }
  void align() { used_ = 0; }

  void putSymbol(const Lengths& lengths, unsigned symbol) {
    unsigned code = 0;
    for (unsigned length = 1; length < lengths[symbol]; ++length) {
      for (const unsigned other : lengths) code += other == length ? 1U : 0U;
      code <<= 1;
    }
    for (unsigned other = 0; other < symbol; ++other) {
      if (lengths[other] == lengths[symbol]) ++code;
    }
    putReversed(code, lengths[symbol]);
  }

  DeflateBuilder& tokensOf(const Tokens& tokens, const Lengths& literals,
                           const Lengths& distances) {
    static constexpr std::array<unsigned, 29> kLengthBase = {
        3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
        31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
    for (const Token& token : tokens) {
      if (token.isBare) {
        putSymbol(literals, token.value);
      } else if (token.distance == 0) {
        putSymbol(literals, token.value);
        inflated_.push_back(static_cast<std::byte>(token.value));
      } else {
        unsigned index = 28;
        while (kLengthBase[index] > token.value) --index;
        putSymbol(literals, 257 + index);
        put(token.value - kLengthBase[index], index < 8 || index == 28 ? 0 : index / 4 - 1);
        unsigned base = 1;
        unsigned symbol = 0;
        unsigned extra = 0;
        while (base + (1U << extra) <= token.distance) {
          base += 1U << extra;
          ++symbol;
          extra = symbol < 4 ? 0 : symbol / 2 - 1;
        }
        putSymbol(distances, symbol);
        put(token.distance - base, extra);
        for (unsigned i = 0; i < token.value; ++i) {
          inflated_.push_back(token.distance > inflated_.size()
                                  ? std::byte{0}
                                  : inflated_[inflated_.size() - token.distance]);
        }
      }
    }
    putSymbol(literals, 256);
    return *this;
  }

  Bytes stream_;
  Bytes inflated_;
  std::size_t used_ = 0;  ///< Bits of the last byte of `stream_`, modulo 8.
};

}  // namespace Kelbor::Inflate::Testing

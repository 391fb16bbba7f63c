// The symbol loops for x86-64 processors with BMI2 and AVX2. Only this source is compiled for them,
// so it must not define anything that the linker could merge with another source's copy.

#include <immintrin.h>

#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

#include "inflate/symbol_loop.hpp"

namespace Kelbor::Inflate {
namespace {

inline std::uint64_t lowBits(std::uint64_t bits, unsigned count) noexcept {
  return _bzhi_u64(bits, count);
}

inline void copy32(std::byte* to, const std::byte* from) noexcept {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                      _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
}

std::uint32_t sumOfLanes(__m256i v) noexcept {
  __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
  sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4E));
  sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum));
}

/// Adler-32 is two sums: of the bytes, and of the first sum after each byte. In the second, a byte
/// of a block counts as often as bytes follow it in the block, plus once.
std::uint32_t adler32(std::uint32_t before, std::span<const std::byte> bytes) noexcept {
  constexpr std::uint32_t kModulus = 65521;
  constexpr std::size_t kStep = 32;
  // A multiple of the step that keeps both sums below 2^32 if they begin below the modulus.
  constexpr std::size_t kMostBytes = 5536;
  const __m256i weights =
      _mm256_setr_epi8(32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14,
                       13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
  const __m256i ones = _mm256_set1_epi16(1);
  const __m256i zero = _mm256_setzero_si256();
  std::uint32_t low = before & 0xFFFFU;
  std::uint32_t high = before >> 16;
  const std::byte* at = bytes.data();
  std::size_t left = bytes.size();
  while (left >= kStep) {
    const std::size_t size = left < kMostBytes ? left / kStep * kStep : kMostBytes;
    left -= size;
    high += low * static_cast<std::uint32_t>(size);
    __m256i sums = zero;      // of bytes
    __m256i earlier = zero;   // of `sums` before each step
    __m256i weighted = zero;  // of bytes by their place in a step
    for (const std::byte* const end = at + size; at != end; at += kStep) {
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
      earlier = _mm256_add_epi32(earlier, sums);
      sums = _mm256_add_epi32(sums, _mm256_sad_epu8(v, zero));
      weighted =
          _mm256_add_epi32(weighted, _mm256_madd_epi16(_mm256_maddubs_epi16(v, weights), ones));
    }
    low += sumOfLanes(sums);
    high += sumOfLanes(_mm256_add_epi32(weighted, _mm256_slli_epi32(earlier, 5)));
    low %= kModulus;
    high %= kModulus;
  }
  for (; left != 0; --left) {
    low += std::to_integer<std::uint32_t>(*at++);
    high += low;
  }
  return (high % kModulus) << 16 | low % kModulus;
}

}  // namespace
}  // namespace Kelbor::Inflate

#include "inflate/symbol_loop_inl.hpp"

namespace Kelbor::Inflate {

constinit const SymbolLoops kAvx2Loops = {
    "avx2", {runLanes<1>, runLanes<2>, runLanes<3>}, runToHardEnd, adler32};

}  // namespace Kelbor::Inflate

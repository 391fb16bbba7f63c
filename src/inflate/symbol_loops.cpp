#include <array>

#include "inflate/symbol_loop.hpp"

namespace Kelbor::Inflate {
namespace {

#if MORVEX_INFLATE_AVX2
constexpr std::array<const SymbolLoops*, 2> kAll = {&kAvx2Loops, &kPortableLoops};

bool runsFirst() noexcept {
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
}
#else
constexpr std::array<const SymbolLoops*, 1> kAll = {&kPortableLoops};

bool runsFirst() noexcept {
  return true;
}
#endif

}  // namespace

std::span<const SymbolLoops* const> symbolLoops() noexcept {
  static const bool hasFirst = runsFirst();
  return hasFirst ? std::span(kAll) : std::span(kAll).last(1);
}

}  // namespace Kelbor::Inflate

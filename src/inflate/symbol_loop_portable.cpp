// The symbol loops in plain C++, for all machines.

#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

#include "inflate/symbol_loop.hpp"
#include "inflate/zlib_stream.hpp"

namespace Kelbor::Inflate {
namespace {

inline std::uint64_t lowBits(std::uint64_t bits, unsigned count) noexcept {
  return bits & ((std::uint64_t{1} << count) - 1);
}

inline void copy32(std::byte* to, const std::byte* from) noexcept {
  std::memcpy(to, from, 32);
}

std::uint32_t adler32OfZlib(std::uint32_t before, std::span<const std::byte> bytes) noexcept {
  return static_cast<std::uint32_t>(
      ::adler32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace
}  // namespace Kelbor::Inflate

#include "inflate/symbol_loop_inl.hpp"

namespace Kelbor::Inflate {

constinit const SymbolLoops kPortableLoops = {
    "portable", {runLanes<1>, runLanes<2>, runLanes<3>}, runToHardEnd, adler32OfZlib};

}  // namespace Kelbor::Inflate

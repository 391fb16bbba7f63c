#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "inflate/lane.hpp"
#include "inflate/limits.hpp"

namespace Kelbor::Inflate {

/// The inner loops for one kind of processor. Results are bit-identical on all.
struct SymbolLoops {
  const char* name;

  /// [n - 1] decodes n lanes, all in the state kSymbols and before their bitEnd and fastEnd, until
  /// one of them leaves that state or reaches one of its ends.
  std::array<void (*)(Lane* lanes) noexcept, kMostLanes> run;

  /// Decodes one lane, symbol by symbol, up to its hardEnd and writes nothing after it. Stops when
  /// the lane leaves the state kSymbols or reaches its bitEnd. kRefused if a symbol has no room.
  void (*runToHardEnd)(Lane& lane) noexcept;

  /// Continues the Adler-32 checksum `before` over `bytes`.
  std::uint32_t (*adler32)(std::uint32_t before, std::span<const std::byte> bytes) noexcept;
};

/// The loops that this machine supports, best first. The last ones are portable.
[[nodiscard]] std::span<const SymbolLoops* const> symbolLoops() noexcept;

// Each is defined in a source that is compiled for its kind of processor.
extern const SymbolLoops kPortableLoops;
extern const SymbolLoops kAvx2Loops;

}  // namespace Kelbor::Inflate

#pragma once

#include <array>
#include <cstdint>

#include "array_list.hpp"
#include "output_streams.hpp"

namespace morvex::tools {

/// The order in which arrays are asked for; the outcome is the same for all.
enum class ReadOrder { forward, backward, random };

struct KindTally {
  std::uint64_t arrays = 0;
  std::uint64_t bytes = 0;
  /// Sum of the hashes of all arrays, each keyed by its path.
  std::uint64_t digest = 0;
};

struct Tally {
  std::array<KindTally, kArrayKinds> kinds{};
  std::uint64_t failures = 0;
};

/// Decodes all arrays of the open file. Writes a line for each failure and a table of the kinds to
/// the data stream, and shows how far it is. Needs the memory of the largest question.
Tally verify(Contents& contents, ReadOrder order, std::uint64_t seed, OutputStreams& streams);

}  // namespace morvex::tools

#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "common/scan.hpp"

namespace morvex::tools {

/// The order in which arrays are asked for; the outcome is the same for all.
enum class ReadOrder { kForward, kBackward, kRandom };

/// Arrays of a kind that were read.
struct KindTally {
  std::uint64_t arrays = 0;
  std::uint64_t bytes = 0;
  /// Sum of the hashes of all arrays, each keyed by its path: the same in every order.
  std::uint64_t digest = 0;
};

/// What can't be read, and why.
struct Fault {
  std::string reason;
  std::uint64_t dependents = 0;  ///< arrays that can't be read for it, beside the dataset itself
};

/// The outcome for one file. `failed` counts arrays, `faults` the datasets to blame: a damaged one may
/// fail many.
struct Tally {
  std::array<KindTally, kArrayKinds> kinds{};
  std::uint64_t failed = 0;             ///< arrays that can't be read
  std::uint64_t absent = 0;             ///< arrays of variables that the file doesn't have
  std::map<std::string, Fault> faults;  ///< by the path of the dataset where each begins

  [[nodiscard]] KindTally sum() const;
};

/// Decodes all arrays of a choice. Throws Interrupted. `seed` matters for the random order only.
[[nodiscard]] Tally tallyOf(const File& file, const Contents& contents, const Choice& choice,
                            ReadOrder order, std::uint64_t seed, const Common& common);

}  // namespace morvex::tools

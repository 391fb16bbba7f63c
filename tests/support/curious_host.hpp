#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace morvex {

/// What came of a session.
struct Inquiry {
  bool opened = false;
  /// Questions that were answered, and those that ended in an exception.
  std::uint64_t answers = 0;
  std::uint64_t failures = 0;
  /// Arrays that are larger than the host wanted to hold, and were not asked for.
  std::uint64_t passedOver = 0;
  /// What came of each question, in their order: a digest of all numbers in the answer, or of the
  /// failure.
  std::vector<std::uint64_t> outcomes;
  /// Of all of them.
  std::uint64_t digest = 0;
  /// The class of an exception that the interface doesn't allow; empty where there was none.
  std::string undefined;
};

/// How much a host wants to know.
struct Curiosity {
  /// Elements of the largest array.
  std::size_t largestArray = std::size_t{1} << 20;
  /// Steps, parts and variables beyond these are not asked for.
  int mostSteps = 64;
  int mostParts = 64;
  int mostVariables = 64;
  /// Arrays filled before the session is ended.
  std::uint64_t mostArrays = 100000;
};

/// Opens a file through the exports, asks for everything that it announces, and for a little beyond
/// its ends, and closes it. Every array is a heap block of exactly the size that the interface
/// demands. Lets no exception out.
Inquiry askEverything(const std::string& path, const Curiosity& curiosity = {});

}  // namespace morvex

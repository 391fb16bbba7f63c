#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace morvex {

/// The result of a session.
struct Inquiry {
  bool opened = false;
  /// Questions answered, and questions that ended in an exception.
  std::uint64_t answers = 0;
  std::uint64_t failures = 0;
  /// Arrays not asked for, since they exceed the host's limit.
  std::uint64_t passedOver = 0;
  /// One digest per question, in order: of all numbers in the answer, or of the failure.
  std::vector<std::uint64_t> outcomes;
  /// Digest of all of them.
  std::uint64_t digest = 0;
  /// The class of an exception that the interface doesn't allow; empty if there was none.
  std::string undefined;
};

/// Limits of a host's questions.
struct Curiosity {
  /// Elements of the largest array.
  std::size_t largestArray = std::size_t{1} << 20;
  /// Steps, parts and variables beyond these are not asked for.
  int mostSteps = 64;
  int mostParts = 64;
  int mostVariables = 64;
  /// Arrays to fill before the session ends.
  std::uint64_t mostArrays = 100000;
};

/// Opens a file through the exports, asks for everything that it announces and a little beyond, and
/// closes it. Every array is a heap block of exactly the required size. Lets no exception out.
Inquiry askEverything(const std::string& path, const Curiosity& curiosity = {});

}  // namespace morvex

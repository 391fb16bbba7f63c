#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/array_list.hpp"

namespace morvex::tools {

/// Two numbers are equal if they differ by at most the larger of `absolute` and `relative` times the
/// larger magnitude. Integers have no tolerance.
struct Tolerance {
  double relative = 0;
  double absolute = 0;
};

/// Where the values of a variable, or of a kind of geometry, differ on a part at a step.
struct Difference {
  std::string what;
  int step = 0;
  int part = -1;  ///< -1 for what belongs to no part
  std::string partName;
  std::uint64_t values = 0;     ///< compared
  std::uint64_t differing = 0;  ///< beyond the tolerance
  // The place of the largest difference.
  double largest = -1;  ///< infinite between a number and what is none
  std::string path;
  std::string place;  ///< for example "node 17 x"
  std::uint64_t index = 0;
  double a = 0;
  double b = 0;
};

/// One of the two files.
struct Side {
  std::string path;
  const File& file;
  const Contents& contents;
  const Choice& choice;
};

/// What differs between two files. Paths and names are as stored and may contain control
/// characters.
struct Comparison {
  std::vector<std::string> structure;  ///< differences of parts, variables and times, in words
  std::vector<std::string> onlyA;      ///< arrays, or groups with all their arrays
  std::vector<std::string> onlyB;
  std::vector<Difference> differences;  ///< of values
  std::vector<std::string> problems;    ///< what could not be read
  std::uint64_t arrays = 0;             ///< compared
  std::uint64_t differingArrays = 0;
  std::uint64_t otherSizes = 0;  ///< arrays of different sizes, which were not compared

  [[nodiscard]] bool hasDifferences() const noexcept {
    return !structure.empty() || !onlyA.empty() || !onlyB.empty() || !differences.empty() ||
           otherSizes != 0;
  }
};

/// Compares times, parts and variables. diff_structure.cpp.
[[nodiscard]] std::vector<std::string> compareStructure(const Side& a, const Side& b,
                                                        const Tolerance& tolerance);

/// Compares everything. Throws Interrupted.
[[nodiscard]] Comparison compareFiles(const Side& a, const Side& b, const Tolerance& tolerance,
                                      bool isQuiet);

}  // namespace morvex::tools

#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "common/selection.hpp"

namespace morvex::tools {

/// Kinds of arrays, by which the programs count and sum up.
enum class ArrayKind {
  kCoordinates,
  kBlockCoordinates,
  kConnectivity,
  kPolygons,   ///< tables of n-sided elements
  kPolyhedra,  ///< tables of n-faced elements
  kBorderFaces,
  kParticles,
  kVariables,
  kConstants,
};
inline constexpr std::size_t kArrayKinds = 9;
[[nodiscard]] const char* kindName(ArrayKind kind);

/// One dataset, or the value of a constant at a step, whose request names variable and step alone.
struct ArrayId {
  ArrayKind kind = ArrayKind::kCoordinates;
  morvex_request request = MORVEX_REQUEST_INIT;
};

/// Path of the array in the file. Error.
[[nodiscard]] std::string pathOf(const File& file, const ArrayId& array);

/// The path for messages; step and part of an array whose path is unknown as its sizes are damaged.
[[nodiscard]] std::string placeOf(const File& file, const ArrayId& array);

struct ArraySize {
  std::uint64_t count = 0;
  std::uint64_t valueBytes = 0;
  [[nodiscard]] std::uint64_t bytes() const noexcept { return count * valueBytes; }
};

/// Size of the decoded array. Error.
[[nodiscard]] ArraySize sizeOf(const File& file, const ArrayId& array);

/// A step of the model, of the particles or of a variable.
struct Section {
  enum class Of { kModel, kParticles, kVariable };
  Of of = Of::kModel;
  int variable = -1;
  int step = 0;
};

/// Lists the arrays of a choice, section by section: no list is longer than the arrays of one step.
class ArrayList {
 public:
  /// All are borrowed.
  ArrayList(const File& file, const Contents& contents, const Choice& choice)
      : file_(file),
        contents_(contents),
        choice_(choice),
        parts_(file, contents.summary.model),
        isFound_(choice.arrays().size()) {}

  /// The sections, in the order that the library is made for: the model, the particles, then
  /// variable by variable.
  [[nodiscard]] std::vector<Section> sections() const;

  /// The arrays of a section that have values, in the order of parts, types and components. Error
  /// if sizes are unknown.
  [[nodiscard]] std::vector<ArrayId> arraysOf(const Section& section);

  /// A name for messages, the group of the section.
  [[nodiscard]] std::string nameOf(const Section& section) const;

  /// Failure kUsageError, with similar paths, if the choice names an array that no call of arraysOf
  /// has listed. To be called when all sections were listed.
  void requireNamed();

  /// The parts of the model at a step, valid until the next call. Error.
  const std::vector<morvex_part>& parts(int step) { return parts_.at(step); }

 private:
  // Without regard to the arrays that the choice names.
  [[nodiscard]] std::vector<Section> allSections() const;
  [[nodiscard]] std::vector<ArrayId> allArraysOf(const Section& section);
  [[nodiscard]] std::vector<ArrayId> variableArrays(const Section& section);
  /// False only if no array of the section can have a path that the choice names.
  [[nodiscard]] bool mayHaveNamed(const Section& section) const;

  const File& file_;
  const Contents& contents_;
  const Choice& choice_;
  PartList parts_;
  std::vector<bool> isFound_;  ///< by the arrays that the choice names
};

}  // namespace morvex::tools

#pragma once

#include <vector>

#include "array_reader.hpp"

namespace morvex::tools {

/// A step of the model, of the particles or of a variable: all that is asked of one at a time.
struct Section {
  enum class Of { model, particles, variable };
  Of of = Of::model;
  int variable = -1;
  int step = 0;
};

/// The library reports time set 0 for a variable without one. Such a variable is told by its
/// arrays, which are there at step 0 alone; it gets one step. Reads one or two arrays of each
/// candidate.
void settleStaticVariables(Contents& contents, ArrayReader& reader);

/// All sections of the open file, in the order that the library is made for: the model, the
/// particles, then variable by variable.
[[nodiscard]] std::vector<Section> sectionsOf(const Contents& contents);

/// The arrays of a section that have values, in the order of parts, types and components.
/// AskFailure where sizes can't be told.
[[nodiscard]] std::vector<ArrayId> arraysOf(const Contents& contents, const Section& section,
                                            ArrayReader& reader);

}  // namespace morvex::tools

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "morvex/morvex_guard.h"

namespace morvex::guard {

/// A geometry of the open file.
struct Geometry {
  std::int32_t adaptivity = MXG_STATIC;
  std::int32_t timeset = 0;
};

/// The parts of the model in one of its states.
struct PartTable {
  std::vector<mxg_part> parts;
  std::vector<std::string> names;
};

struct VariableTable {
  std::vector<mxg_variable> variables;
  std::array<std::vector<std::string>, 3> texts;  ///< by mxg_text
};

/// What the open file says about itself. The checks on a caller's numbers and buffers stand on it.
/// Each fact is asked for when it is needed, and kept; of the parts, those of the last state.
/// Numbers of the caller that lead nowhere are refused.
class Facts {
 public:
  [[nodiscard]] std::uint64_t timesets();
  /// Steps of a time set.
  [[nodiscard]] std::uint64_t steps(std::int32_t timeset);

  /// MXG_MODEL or MXG_PARTICLES; MXG_NO_SUCH_DATA for one that the file doesn't have.
  [[nodiscard]] const Geometry& geometry(std::int32_t which);
  /// The state that answers at a step; for coordinates there is another one.
  [[nodiscard]] std::int32_t state(std::int32_t which, std::int32_t step);
  /// The state by whose sizes the library reads coordinates at a step.
  [[nodiscard]] std::int32_t coordinateState(std::int32_t which, std::int32_t step);

  [[nodiscard]] std::uint64_t partCount();
  /// The parts in a state; valid until another state is asked for.
  [[nodiscard]] const PartTable& parts(std::int32_t state);
  [[nodiscard]] const mxg_part& part(std::int32_t state, std::int32_t index);
  /// Border faces of an existing part in a state, by type.
  [[nodiscard]] static std::array<std::uint64_t, MXG_ELEMENT_TYPES> borderFaces(std::int32_t state,
                                                                                std::int32_t part);
  /// Particles in a state.
  [[nodiscard]] std::uint64_t particles(std::int32_t state);

  [[nodiscard]] const VariableTable& variables();
  [[nodiscard]] const mxg_variable& variable(std::int32_t index);
  /// Steps at which a variable can be asked for.
  [[nodiscard]] std::uint64_t variableSteps(const mxg_variable& variable);

 private:
  [[nodiscard]] Geometry readGeometry(std::int32_t which);
  [[nodiscard]] bool hasState(std::int32_t which, std::int32_t state);
  [[nodiscard]] PartTable readParts(std::int32_t state);

  std::array<std::optional<Geometry>, 2> geometries_;
  std::array<std::optional<std::int32_t>, 2> lastStates_;
  std::int32_t partsState_ = -1;
  PartTable parts_;
  std::optional<VariableTable> variables_;
};

/// Refuses an index below 0 or not below the count, which `what` is the name of.
void requireIndex(std::int32_t index, std::uint64_t count, const char* what);

/// The library's answer to a question after a number; refuses one that 32 bits have not held.
[[nodiscard]] std::uint64_t counted(int answer);

/// The count, unless it is too large for the library's own 32 bits.
[[nodiscard]] std::uint64_t countable(std::uint64_t count);

/// Refuses an answer of a status function that is not 0.
void requireAnswered(int status);

}  // namespace morvex::guard

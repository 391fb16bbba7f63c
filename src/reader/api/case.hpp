#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "simulation/simulation_metadata.hpp"

namespace morvex::Api {

/// The two geometries of a file.
enum class Which { kModel, kParticles };

/// The contents of a file according to its metadata: the steps that exist and where their data is.
/// Numbers come from the caller; invalid ones are refused with MORVEX_OUT_OF_RANGE.
class Case {
 public:
  /// The metadata is borrowed.
  explicit Case(const SimulationMetadata& metadata);

  [[nodiscard]] const SimulationMetadata& metadata() const noexcept { return metadata_; }

  /// Times of a set; for -1 a single time 0.
  [[nodiscard]] std::span<const float> times(std::int32_t timeset) const;

  [[nodiscard]] bool has(Which which) const noexcept { return indexOf(which) >= 0; }
  /// A morvex_change.
  [[nodiscard]] std::int32_t change(Which which) const;
  /// -1 for none.
  [[nodiscard]] std::int32_t timeset(Which which) const;
  [[nodiscard]] std::uint64_t steps(Which which) const;
  /// The step under which coordinates are stored, or everything else; 0 for what doesn't change.
  [[nodiscard]] int coordinateStep(Which which, int step) const;
  [[nodiscard]] int stateStep(Which which, int step) const;
  /// The sizes at a step.
  [[nodiscard]] const GeometryMetadata& state(Which which, int step) const;
  /// Index of a part in the tables of a state.
  [[nodiscard]] static std::size_t partOf(const GeometryMetadata& state, int part);

  [[nodiscard]] std::size_t variableOf(int variable) const;
  [[nodiscard]] Which geometryOf(std::size_t variable) const;
  /// -1 for none.
  [[nodiscard]] std::int32_t timesetOf(std::size_t variable) const;
  [[nodiscard]] std::uint64_t stepsOf(std::size_t variable) const;
  /// The step under which values are stored.
  [[nodiscard]] int variableStep(std::size_t variable, int step) const;
  /// The geometry's step with the sizes.
  [[nodiscard]] int geometryStep(std::size_t variable, int step) const;
  /// 1 to 4 for known types.
  [[nodiscard]] std::int32_t typeOf(std::size_t variable) const;
  /// 0 for an unknown type.
  [[nodiscard]] static std::int32_t componentsOf(std::int32_t type) noexcept;

 private:
  /// At least 1; also where something refers to a set that the file does not have.
  [[nodiscard]] std::uint64_t stepsOfSet(std::int32_t timeset) const;
  [[nodiscard]] std::int32_t indexOf(Which which) const noexcept {
    return which == Which::kModel ? model_ : particles_;
  }

  const SimulationMetadata& metadata_;
  std::int32_t model_ = -1;
  std::int32_t particles_ = -1;
};

/// `index` as a position among `count` items; throws a Refusal that names the missing item.
[[nodiscard]] std::size_t positionOf(std::int64_t index, std::uint64_t count,
                                     std::string_view what);

}  // namespace morvex::Api

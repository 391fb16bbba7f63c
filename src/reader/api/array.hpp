#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "morvex/morvex.h"
#include "reader/api/case.hpp"

namespace morvex {
class EnsgSimulation;
}

namespace morvex::Api {

/// Arrays with the same key are read in sequence by the same reader, which then reuses its cache:
/// the steps of a series that depend on each other, the axes of coordinates.
struct SeriesKey {
  std::array<std::int32_t, 6> numbers{};
  /// False for an array that shares nothing with others.
  bool isSeries = false;
  auto operator<=>(const SeriesKey&) const = default;
};

/// A checked request: what to read, its size, and the datasets with it.
class Array {
 public:
  /// Throws Refusal. The case is borrowed.
  Array(const Case& ofCase, const morvex_request& request);

  [[nodiscard]] morvex_kind kind() const noexcept { return kind_; }
  /// Number of values of all requested components.
  [[nodiscard]] std::uint64_t count() const noexcept { return count_; }
  [[nodiscard]] std::uint64_t valueBytes() const noexcept { return valueBytes_; }
  [[nodiscard]] std::uint64_t bytes() const noexcept { return count_ * valueBytes_; }
  [[nodiscard]] SeriesKey series() const;
  /// The step under which the file stores it.
  [[nodiscard]] int storedStep() const noexcept { return step_; }
  /// Group and name of each dataset to read, in the order of components.
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> datasets() const;

  /// Fills `target`, which has room for all values. Throws what the simulation's reads throw, and
  /// Refusal for inconsistent cells.
  void read(EnsgSimulation& simulation, void* target) const;

 private:
  void resolveGeometry(const morvex_request& request);
  void resolveElements(const morvex_request& request);
  void resolveParticles(const morvex_request& request);
  void resolveCells(const morvex_request& request);
  void resolveVariable(const morvex_request& request);
  void takeComponents(const morvex_request& request, std::int32_t available, std::uint64_t values);

  void readComponent(EnsgSimulation& simulation, int component, float* target) const;
  void readFloats(EnsgSimulation& simulation, float* target) const;
  void readIntegers(EnsgSimulation& simulation, void* target) const;
  void readCells(EnsgSimulation& simulation, void* target) const;

  const Case& case_;
  morvex_kind kind_;
  int step_ = 0;
  int part_ = 0;
  int elementType_ = -1;
  int variable_ = -1;
  bool isImaginary_ = false;
  bool isBlock_ = false;
  bool isInterleaved_ = false;
  int firstComponent_ = 0;
  int components_ = 1;
  std::uint64_t count_ = 0;
  std::uint64_t valueBytes_ = sizeof(std::int32_t);
  /// The state that has the sizes.
  const GeometryMetadata* state_ = nullptr;
};

/// True for the two element types whose nodes are never stored.
[[nodiscard]] constexpr bool isNamelessGhost(int elementType) noexcept {
  return elementType == 31 || elementType == 33;
}

}  // namespace morvex::Api

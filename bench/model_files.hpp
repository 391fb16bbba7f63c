#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex::Bench {

// Files like those of a crash run, with reproducible numbers.

inline constexpr double kCoordinateStep = 0.005;   // mm
inline constexpr double kDisplacementStep = 0.01;  // mm
inline constexpr double kStressStep = 0.1;         // MPa

struct CrashModel {
  std::uint32_t nodes = 1'000'000;
  std::uint32_t parts = 42;
  int steps = 1;
  bool isQuantised = true;
  /// Displacements are stored as differences between steps.
  bool usesTimeDifferences = false;
  /// Steps of coordinates depend on the distance to the origin.
  bool hasAdaptiveCoordinates = false;
  /// Node numbers of the elements are stored as back references.
  bool hasIdWindows = false;
  /// Number of chunks per array.
  std::uint64_t tableChunks = 1;
};
/// Folded sheets of quadrilaterals: coordinates, "displacement" (vector at nodes) and "stress"
/// (scalar of elements) with noise as solvers leave it.
void writeCrashModel(const std::string& path, const CrashModel& model);

struct ManyArrays {
  std::uint32_t parts = 100;
  std::uint32_t variables = 10;
  std::uint32_t steps = 100;
  std::uint32_t valuesPerArray = 2000;
};
/// parts x variables x steps arrays of quantised scalars at nodes, which differ little from step to
/// step. Returns the values of step 0 by variable, then part.
std::vector<std::vector<float>> writeManyArrays(const std::string& path, const ManyArrays& many);

}  // namespace morvex::Bench

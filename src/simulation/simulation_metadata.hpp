#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/case_records.hpp"
#include "metadata/geometry_records.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/precisions.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "metadata/variable_records.hpp"
#include "recipes/recipe.hpp"
#include "recipes/time_differences.hpp"

namespace morvex {

/// A box as hosts get it for a static case: xmin, xmax, ymin, ymax, zmin, zmax.
using InterleavedBox = std::array<float, 6>;

/// Everything read when a file is opened. Tables whose record is missing stay empty.
struct SimulationMetadata {
  /// The geometry whose states get the boxes per time step.
  static constexpr std::int32_t perTimestepGeometry = 0;

  MetadataVersion fileVersion;
  CaseMetaData caseMetaData;
  InterleavedBox boundingBox{};
  /// [geometry][state]: one state per step if connectivity changes, otherwise one.
  std::vector<std::vector<GeometryMetadata>> geometryMetaData;
  bool hasOctree = false;
  std::vector<std::vector<OctreeMetaData>> octreeMetaData;
  VariableMetaData variableMetaData;
  /// Time set by variable name; for a repeated name, that of the first variable.
  std::map<std::string, std::int32_t, std::less<>> timesetOfVariable;
  std::map<std::string, bool, std::less<>> usesTimeDiffs;
  Precisions precisions{"ensg"};
  /// In the order of their records, without gaps; a variable's time set is an index into this list.
  std::vector<std::unique_ptr<TimeSet>> timeSets;
  std::vector<std::unique_ptr<FileSet>> fileSets;
  /// Indexed by the first word of a dataset.
  std::vector<ZipRecipe> recipes;
  /// Indexed by the second word of a dataset, counting from 1.
  std::vector<std::vector<std::byte>> recipeConParams;
  CompressTimeDiffsMetaData timeDiffsMetaData;
  /// [time set][step]; empty for a time set without time differences.
  std::vector<TimePattern> timeDiffPatterns;

  /// False for unknown variables as well.
  [[nodiscard]] bool usesTimeDiffsOf(std::string_view variableName) const;
  /// The role of a step of a variable with time differences. An unknown variable uses time set 0.
  /// std::out_of_range.
  [[nodiscard]] const PatternEntry& patternEntryOf(std::string_view variableName,
                                                   std::int32_t timestep) const;
};

}  // namespace morvex

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
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
#include "sdf/hierarchical_file.hpp"

namespace morvex {

/// The version of this reader as files know it: a file that requires a higher one is refused.
inline constexpr MetadataVersion kReaderVersion{7, 0, 1048};

/// A box in the order in which a host gets that of a static case: xmin, xmax, ymin, ymax, zmin,
/// zmax.
using InterleavedBox = std::array<float, 6>;

/// All that is read once when a file is opened. Tables whose record is absent stay empty.
struct SimulationMetadata {
  /// The geometry whose states take the boxes per time step.
  static constexpr std::int32_t perTimestepGeometry = 0;

  MetadataVersion fileVersion;
  CaseMetaData caseMetaData;
  InterleavedBox boundingBox{};
  /// [geometry][state]: one state for each step where connectivity changes, else one.
  std::vector<std::vector<GeometryMetadata>> geometryMetaData;
  bool hasOctree = false;
  std::vector<std::vector<OctreeMetaData>> octreeMetaData;
  VariableMetaData variableMetaData;
  /// By variable name; of variables that share a name, the first.
  std::map<std::string, std::int32_t, std::less<>> timesetOfVariable;
  std::map<std::string, bool, std::less<>> usesTimeDiffs;
  Precisions precisions{"ensg"};
  /// In the order of their records, gaps closed: a variable's time set is a position here.
  std::vector<std::unique_ptr<TimeSet>> timeSets;
  std::vector<std::unique_ptr<FileSet>> fileSets;
  /// Addressed by the first word of a dataset.
  std::vector<ZipRecipe> recipes;
  /// Addressed by the second word of a dataset, counted from 1.
  std::vector<std::vector<std::byte>> recipeConParams;
  CompressTimeDiffsMetaData timeDiffsMetaData;
  /// [time set][step]; empty for a time set that no variable stores differences over.
  std::vector<TimePattern> timeDiffPatterns;
};

/// Reads all metadata of a file, in a fixed order. A file without its version record has none: all
/// tables stay empty. UsageException for a file or a record that needs a newer reader,
/// InternalError for damaged records, std::out_of_range for an index between records that leads
/// nowhere.
[[nodiscard]] SimulationMetadata loadMetadata(Kelbor::MathModule::HierarchicalFileInterface& file);

}  // namespace morvex

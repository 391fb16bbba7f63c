#pragma once

#include <cstdint>
#include <span>
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
#include "writer/byte_writer.hpp"

/// The records of a file as bytes. Each function writes the reader's struct field by field in
/// stored order. Only texts are checked, to fit their fields (std::invalid_argument), so that tests
/// can write nonsense as well.
namespace morvex::Writer {

/// The version of the program that a file requires.
[[nodiscard]] Bytes versionBytes(const MetadataVersion& required);

/// Writes the counts of geometries and variables from their fields, not from the vectors' sizes.
[[nodiscard]] Bytes caseBytes(const CaseMetaData& record, const StoredBox& box);

/// states[g][s] is state s of geometry g; names must fit `nameWidth`.
[[nodiscard]] Bytes geometryBytes(const std::vector<std::vector<GeometryMetadata>>& states,
                                  std::uint64_t nameWidth);
[[nodiscard]] Bytes octreeBytes(const std::vector<std::vector<OctreeMetaData>>& states);

/// Below version 0.1.0 the record has no dataset names. Variables with a constant flag store no
/// part table, whatever `definedOnPart` has for them.
[[nodiscard]] Bytes variableBytes(const VariableMetaData& record, std::uint64_t nameWidth,
                                  const MetadataVersion& version = {0, 1, 0});

[[nodiscard]] Bytes timeSetBytes(const TimeSet& set);
[[nodiscard]] Bytes fileSetBytes(const FileSet& set);

struct PrecisionEntry {
  std::string key;
  PrecisionSetting setting;
};
/// `maxValues` has one number for each variable, negative where none is recorded.
[[nodiscard]] Bytes precisionBytes(std::span<const PrecisionEntry> entries,
                                   const std::vector<double>& maxValues);

[[nodiscard]] Bytes boxBytes(std::span<const StoredBox> boxes);
[[nodiscard]] Bytes timeDifferenceBytes(const CompressTimeDiffsMetaData& record);

/// The list of parameter blocks; each begins with its own version.
[[nodiscard]] Bytes parameterListBytes(std::span<const Bytes> blocks);

}  // namespace morvex::Writer

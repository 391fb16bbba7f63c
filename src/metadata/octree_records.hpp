#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "metadata/geometry_records.hpp"

namespace morvex {

/// Spatial index of one geometry at one stored state. It is read and kept; no query consults it.
/// The outer index of every vector is the part; nested ones have `entryCounts[part]` entries.
struct OctreeMetaData {
  std::vector<std::uint32_t> entryCounts;
  std::vector<std::uint32_t> partValues;
  std::vector<std::vector<std::uint64_t>> entryValuesA;
  std::vector<std::vector<std::array<std::uint32_t, 2>>> entryPairs;
  std::vector<std::vector<ElementCounts>> entryElementCounts;
  std::vector<std::vector<std::uint64_t>> entryValuesB;
  std::vector<std::vector<std::uint64_t>> entryValuesC;
  std::vector<std::vector<std::uint64_t>> entryValuesD;
  std::vector<std::vector<std::uint64_t>> entryValuesE;
  std::vector<bool> partFlags;
};

/// How many octrees each geometry stores. Unlike `geometryStateCounts`, the change type of geometry
/// 0 decides for all geometries: mixed files are written that way. std::out_of_range for a missing
/// time set.
[[nodiscard]] std::vector<std::uint32_t> octreeStateCounts(const CaseMetaData& caseMetaData);

/// Reads the record "octreemetadata": result[g][s] belongs to state s of geometry g.
/// `statesPerGeometry` has one count for each geometry; std::out_of_range where it is shorter.
/// UsageException for a version above 0.0.0, InternalError for bytes that can't be read.
[[nodiscard]] std::vector<std::vector<OctreeMetaData>> readOctreeMetaData(
    std::span<const std::byte> bytes, const CaseMetaData& caseMetaData,
    std::span<const std::uint32_t> statesPerGeometry);

}  // namespace morvex

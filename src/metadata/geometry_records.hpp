#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "metadata/case_records.hpp"

namespace morvex {

/// Number of elements of each of the host's 34 element types (17 types, each with its ghost twin).
using ElementCounts = std::array<std::uint32_t, 34>;

/// One geometry at one stored state. Each vector has one entry for each part.
struct GeometryMetadata {
  std::uint64_t numParts = 0;
  std::vector<std::uint32_t> partIds;     ///< Identifiers for the host.
  std::vector<std::uint32_t> partValues;  ///< Kept, not interpreted.
  /// 0 unstructured; else a structured block, 2 one whose blanking options the host gets as zeros.
  std::vector<std::uint32_t> partTypes;
  std::vector<std::string> partNames;
  std::vector<std::uint64_t> numNodes;
  std::vector<std::uint64_t> nfacedConnectivitySize;  ///< Entries of the face-based connectivity.
  std::vector<std::uint64_t> nfacedNodesPerFaceSize;  ///< Entries of the nodes-per-face list.
  std::vector<std::uint64_t> nsidedConnectivitySize;  ///< Entries of the n-sided connectivity.
  std::vector<ElementCounts> elementCounts;
  std::vector<std::array<std::uint32_t, 4>> blockInfo;
  std::vector<bool> partFlagsA;                ///< Kept, not interpreted.
  std::vector<std::uint32_t> partValuesB;      ///< Kept, not interpreted.
  std::array<std::uint32_t, 3> stateValues{};  ///< Of the state as a whole; kept, not interpreted.
  std::vector<bool> coordinatesAdaptive;       ///< The part's coordinates have adaptive precision.
  std::vector<bool> partFlagsC;                ///< Kept, not interpreted.
  std::vector<ElementCounts> borderFaceCounts;
  /// Not part of this record: filled from the boxes per time step or from the case's box.
  StoredBox boundingBox = kInvertedBox;
};

/// How many states each geometry stores, by its own change type: one for a static geometry and one
/// with fixed connectivity, the steps of its time set for one whose connectivity changes. A change
/// type that is none of these adds no entry. std::out_of_range for a missing time set.
[[nodiscard]] std::vector<std::uint32_t> geometryStateCounts(const CaseMetaData& caseMetaData);

/// Reads the record "geometrymetadata": result[g][s] is state s of geometry g. `statesPerGeometry`
/// has one count for each geometry; std::out_of_range where it is shorter. UsageException for a
/// version above 0.0.0, InternalError for bytes that can't be read.
[[nodiscard]] std::vector<std::vector<GeometryMetadata>> readGeometryMetadata(
    std::span<const std::byte> bytes, const CaseMetaData& caseMetaData,
    std::span<const std::uint32_t> statesPerGeometry);

}  // namespace morvex

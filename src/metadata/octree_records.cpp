#include "metadata/octree_records.hpp"

#include "core/checked.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {
namespace {

/// Bytes of an octree without parts: the count alone.
constexpr std::size_t kEmptyOctreeSize = 8;
/// Bytes of a part without entries: 2 words and a flag.
constexpr std::size_t kEmptyPartSize = 9;

/// One list for each part. Each list is checked against the remaining bytes before it is sized, so
/// that the counts need not be added up.
template <class T>
std::vector<std::vector<T>> readEntries(RecordCursor& cursor,
                                        const std::vector<std::uint32_t>& entryCounts) {
  std::vector<std::vector<T>> parts;
  parts.reserve(entryCounts.size());
  for (const std::uint32_t count : entryCounts) parts.push_back(readVector<T>(cursor, count));
  return parts;
}

OctreeMetaData readOctree(RecordCursor& cursor) {
  OctreeMetaData octree;
  const std::uint64_t n = cursor.readCount(kEmptyPartSize);
  octree.entryCounts = readVector<std::uint32_t>(cursor, n);
  octree.partValues = readVector<std::uint32_t>(cursor, n);
  octree.entryValuesA = readEntries<std::uint64_t>(cursor, octree.entryCounts);
  octree.entryPairs = readEntries<std::array<std::uint32_t, 2>>(cursor, octree.entryCounts);
  octree.entryElementCounts = readEntries<ElementCounts>(cursor, octree.entryCounts);
  octree.entryValuesB = readEntries<std::uint64_t>(cursor, octree.entryCounts);
  octree.entryValuesC = readEntries<std::uint64_t>(cursor, octree.entryCounts);
  octree.entryValuesD = readEntries<std::uint64_t>(cursor, octree.entryCounts);
  octree.entryValuesE = readEntries<std::uint64_t>(cursor, octree.entryCounts);
  octree.partFlags = readBools(cursor, n);
  return octree;
}

}  // namespace

std::vector<std::uint32_t> octreeStateCounts(const CaseMetaData& caseMetaData) {
  std::vector<std::uint32_t> counts;
  if (caseMetaData.geometryChangeTypes.empty()) return counts;
  switch (caseMetaData.geometryChangeTypes.front()) {
    case GeometryChange::kStatic:
    case GeometryChange::kCoordinates:
      counts.assign(caseMetaData.geometryChangeTypes.size(), 1);
      break;
    case GeometryChange::kConnectivity:
      for (const std::uint32_t timeset : caseMetaData.geometryTimesets) {
        counts.push_back(Kelbor::checkedAt(caseMetaData.timesetStepCounts, timeset));
      }
      break;
    default:
      break;
  }
  return counts;
}

std::vector<std::vector<OctreeMetaData>> readOctreeMetaData(
    std::span<const std::byte> bytes, const CaseMetaData& caseMetaData,
    std::span<const std::uint32_t> statesPerGeometry) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "Octree meta data requires meta data version ");

  std::vector<std::vector<OctreeMetaData>> geometries;
  for (std::uint64_t g = 0; g < caseMetaData.numGeometries; ++g) {
    const std::uint32_t count = Kelbor::checkedAt(statesPerGeometry, g);
    cursor.checkCount(count, kEmptyOctreeSize);
    std::vector<OctreeMetaData>& states = geometries.emplace_back();
    states.reserve(count);
    for (std::uint32_t s = 0; s < count; ++s) states.push_back(readOctree(cursor));
  }
  return geometries;
}

}  // namespace morvex

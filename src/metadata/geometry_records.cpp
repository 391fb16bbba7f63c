#include "metadata/geometry_records.hpp"

#include "core/checked.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {
namespace {

/// Bytes of a state without parts: the count and the three state values.
constexpr std::size_t kEmptyStateSize = 20;
/// Bytes of a part beside its name: 4 words, 4 sizes, block information, 3 flags, 2 count tables.
constexpr std::size_t kPartSize = 4 * 4 + 4 * 8 + 16 + 3 + 2 * sizeof(ElementCounts);

GeometryMetadata readState(RecordCursor& cursor, std::size_t nameWidth) {
  GeometryMetadata state;
  const std::uint64_t n = cursor.readCount(kPartSize + nameWidth);
  state.numParts = n;
  state.partIds = readVector<std::uint32_t>(cursor, n);
  state.partValues = readVector<std::uint32_t>(cursor, n);
  state.partTypes = readVector<std::uint32_t>(cursor, n);
  state.partNames = readFixedTexts(cursor, n, nameWidth);
  state.numNodes = readVector<std::uint64_t>(cursor, n);
  state.nfacedConnectivitySize = readVector<std::uint64_t>(cursor, n);
  state.nfacedNodesPerFaceSize = readVector<std::uint64_t>(cursor, n);
  state.nsidedConnectivitySize = readVector<std::uint64_t>(cursor, n);
  state.elementCounts = readVector<ElementCounts>(cursor, n);
  state.blockInfo = readVector<std::array<std::uint32_t, 4>>(cursor, n);
  state.partFlagsA = readBools(cursor, n);
  state.partValuesB = readVector<std::uint32_t>(cursor, n);
  state.stateValues = cursor.read<std::array<std::uint32_t, 3>>();
  state.coordinatesAdaptive = readBools(cursor, n);
  state.partFlagsC = readBools(cursor, n);
  state.borderFaceCounts = readVector<ElementCounts>(cursor, n);
  return state;
}

}  // namespace

std::vector<std::uint32_t> geometryStateCounts(const CaseMetaData& caseMetaData) {
  std::vector<std::uint32_t> counts;
  for (std::size_t g = 0; g < caseMetaData.geometryChangeTypes.size(); ++g) {
    switch (caseMetaData.geometryChangeTypes[g]) {
      case GeometryChange::kStatic:
      case GeometryChange::kCoordinates:
        counts.push_back(1);
        break;
      case GeometryChange::kConnectivity:
        counts.push_back(Kelbor::checkedAt(caseMetaData.timesetStepCounts,
                                           Kelbor::checkedAt(caseMetaData.geometryTimesets, g)));
        break;
      default:
        break;
    }
  }
  return counts;
}

std::vector<std::vector<GeometryMetadata>> readGeometryMetadata(
    std::span<const std::byte> bytes, const CaseMetaData& caseMetaData,
    std::span<const std::uint32_t> statesPerGeometry) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "Geometry meta data requires meta data version ");

  const std::size_t nameWidth = requireTextWidth(caseMetaData.nameWidth);
  std::vector<std::vector<GeometryMetadata>> geometries;
  for (std::uint64_t g = 0; g < caseMetaData.numGeometries; ++g) {
    const std::uint32_t count = Kelbor::checkedAt(statesPerGeometry, g);
    cursor.checkCount(count, kEmptyStateSize);
    std::vector<GeometryMetadata>& states = geometries.emplace_back();
    states.reserve(count);
    for (std::uint32_t s = 0; s < count; ++s) states.push_back(readState(cursor, nameWidth));
  }
  return geometries;
}

}  // namespace morvex

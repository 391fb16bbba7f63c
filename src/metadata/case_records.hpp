#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace morvex {

/// A bounding box in the order of the file: xmin, ymin, zmin, xmax, ymax, zmax.
using StoredBox = std::array<float, 6>;

/// The inverted box that no point has widened yet.
inline constexpr StoredBox kInvertedBox{
    std::numeric_limits<float>::max(),    std::numeric_limits<float>::max(),
    std::numeric_limits<float>::max(),    std::numeric_limits<float>::lowest(),
    std::numeric_limits<float>::lowest(), std::numeric_limits<float>::lowest()};

/// Counts and tables of the case. All later records take their array lengths from here.
struct CaseMetaData {
  std::uint64_t numTimesets = 0;
  std::uint64_t numFilesets = 0;
  std::string title;
  std::uint64_t numGeometries = 0;
  std::vector<std::uint8_t> geometryKinds;        ///< Per geometry: 0 model, 1 measured.
  std::vector<std::uint8_t> geometryChangeTypes;  ///< Per geometry, see `GeometryChange`.
  std::vector<std::uint32_t> geometryTimesets;    ///< Per geometry; `kNoTimeset` for none.
  std::vector<std::uint32_t> timesetStepCounts;   ///< Per time set: its stored steps.
  std::vector<std::uint32_t> geometryExtra;       ///< Per geometry; kept, not interpreted.
  std::uint64_t numVariables = 0;
  /// Bytes of each fixed text field of the geometry and variable records.
  std::uint64_t nameWidth = 0;
  std::array<std::uint32_t, 5> caseValues{};  ///< Kept, not interpreted.
  std::string caseText;
  std::vector<std::string> geometryTexts;  ///< Per geometry.
};

/// Values of `CaseMetaData::geometryChangeTypes`.
namespace GeometryChange {
inline constexpr std::uint8_t kStatic = 1;        ///< Nothing changes.
inline constexpr std::uint8_t kCoordinates = 2;   ///< Coordinates change, connectivity stays.
inline constexpr std::uint8_t kConnectivity = 3;  ///< Every stored step has its own state.
}  // namespace GeometryChange

/// Entry of `CaseMetaData::geometryTimesets` for a geometry without a time set.
inline constexpr std::uint32_t kNoTimeset = 0xFFFFFFFF;

/// Reads the record "casemetadata" and stores the box of the whole case in `boundingBox`, which
/// stays as it is if the record is refused. UsageException for a version above 0.0.0, InternalError
/// for bytes that can't be read or a `nameWidth` above 1 MiB.
[[nodiscard]] CaseMetaData readCaseMetaData(std::span<const std::byte> bytes,
                                            StoredBox& boundingBox);

}  // namespace morvex

#include "metadata/case_records.hpp"

#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {

CaseMetaData readCaseMetaData(std::span<const std::byte> bytes, StoredBox& boundingBox) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "CaseMetaData meta data requires meta data version ");

  CaseMetaData record;
  const auto storedBox = cursor.read<StoredBox>();
  const auto titleLength = cursor.read<std::uint64_t>();
  record.numGeometries = cursor.read<std::uint64_t>();
  record.numTimesets = cursor.read<std::uint64_t>();
  record.numFilesets = cursor.read<std::uint64_t>();
  record.numVariables = cursor.read<std::uint64_t>();
  record.nameWidth = requireTextWidth(cursor.read<std::uint64_t>());

  record.title = Kelbor::textOf(cursor.take(titleLength));
  record.geometryKinds = readVector<std::uint8_t>(cursor, record.numGeometries);
  record.geometryChangeTypes = readVector<std::uint8_t>(cursor, record.numGeometries);
  record.geometryTimesets = readVector<std::uint32_t>(cursor, record.numGeometries);
  record.timesetStepCounts = readVector<std::uint32_t>(cursor, record.numTimesets);
  record.geometryExtra = readVector<std::uint32_t>(cursor, record.numGeometries);
  record.caseValues = cursor.read<std::array<std::uint32_t, 5>>();
  const auto caseTextLength = cursor.read<std::uint32_t>();
  record.caseText = Kelbor::textOf(cursor.take(caseTextLength));
  const auto textLengths = readVector<std::uint32_t>(cursor, record.numGeometries);
  record.geometryTexts.reserve(textLengths.size());
  for (const std::uint32_t length : textLengths) {
    record.geometryTexts.emplace_back(Kelbor::textOf(cursor.take(length)));
  }

  boundingBox = storedBox;
  return record;
}

}  // namespace morvex

#include "metadata/variable_records.hpp"

#include "core/checked.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {
namespace {

/// Bytes of a variable beside its texts: 8 words, 2 empty lists of constants, 1 flag.
constexpr std::size_t kVariableSize = 8 * 4 + 2 * 8 + 1;

std::vector<std::vector<float>> readConstants(RecordCursor& cursor, std::uint64_t count) {
  std::vector<std::vector<float>> constants(static_cast<std::size_t>(count));
  for (std::vector<float>& values : constants) {
    values = readVector<float>(cursor, cursor.read<std::uint64_t>());
  }
  return constants;
}

/// Constants store no table: the bytes of the next variable follow directly.
std::vector<std::vector<bool>> readDefinedOnPart(RecordCursor& cursor,
                                                 const VariableMetaData& record,
                                                 std::span<const std::uint64_t> partCounts) {
  std::vector<std::vector<bool>> tables(record.constantFlags.size());
  for (std::size_t v = 0; v < tables.size(); ++v) {
    if (record.constantFlags[v] != 0) continue;
    tables[v] = readBools(cursor, Kelbor::checkedAt(partCounts, record.geometryIndices[v]));
  }
  return tables;
}

}  // namespace

VariableMetaData readVariableMetaData(std::span<const std::byte> bytes, std::uint64_t numVariables,
                                      std::uint64_t nameWidth,
                                      std::span<const std::uint64_t> partCounts) {
  RecordCursor cursor(bytes);
  const MetadataVersion version =
      requireReadableVersion(cursor, {0, 1, 0}, "Variable meta data requires meta data version ");
  // The patch level adds no field.
  const bool hasDatasetNames = version.major > 0 || version.minor > 0;

  const std::size_t width = requireTextWidth(nameWidth);
  const std::uint64_t n =
      cursor.checkCount(numVariables, kVariableSize + (hasDatasetNames ? 4 : 3) * width);
  VariableMetaData record;
  record.names = readFixedTexts(cursor, n, width);
  record.types = readVector<std::uint32_t>(cursor, n);
  record.locations = readVector<std::uint32_t>(cursor, n);
  record.complexFlags = readVector<std::uint32_t>(cursor, n);
  record.frequencies = readVector<float>(cursor, n);
  record.timesets = readVector<std::uint32_t>(cursor, n);
  record.geometryIndices = readVector<std::uint32_t>(cursor, n);
  record.descriptions = readFixedTexts(cursor, n, width);
  record.imaginaryDescriptions = readFixedTexts(cursor, n, width);
  record.constantFlags = readVector<std::uint32_t>(cursor, n);
  record.constantValues = readConstants(cursor, n);
  record.imaginaryConstantValues = readConstants(cursor, n);
  record.definedOnPart = readDefinedOnPart(cursor, record, partCounts);
  record.dataTypes = readVector<std::uint32_t>(cursor, n);
  record.usesTimeDiffs = readBools(cursor, n);
  record.datasetNames = hasDatasetNames ? readFixedTexts(cursor, n, width) : record.names;
  return record;
}

}  // namespace morvex

#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "bytes_builder.hpp"
#include "metadata/case_records.hpp"
#include "metadata/metadata_version.hpp"

namespace morvex {

/// One small intact record of a kind, and how it is read.
struct RecordSample {
  struct Count {
    std::size_t offset;
    std::size_t size;  ///< 4 or 8 bytes
  };

  std::string name;
  std::string versionMessage;
  MetadataVersion highest;
  std::vector<std::byte> bytes;
  std::function<void(std::span<const std::byte>)> read;
  std::vector<Count> counts;  ///< Where the record stores counts, lengths and widths.
};

/// A case of two geometries, a static model and a measured one that changes over the two steps of
/// time set 1, with 4 bytes for each name.
[[nodiscard]] BytesBuilder caseBytes();
[[nodiscard]] CaseMetaData sampleCase();

/// Appends one geometry state with the given names, each in 4 bytes; all numbers differ.
void appendState(BytesBuilder& record, const std::vector<std::string>& names);

/// Two variables with names of 4 bytes: "temp" on two parts and the constant "c".
[[nodiscard]] BytesBuilder variableBytes(const MetadataVersion& version);

/// One sample of every record of this folder.
[[nodiscard]] std::vector<RecordSample> allRecords();

}  // namespace morvex

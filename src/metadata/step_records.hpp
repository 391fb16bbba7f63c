#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "metadata/geometry_records.hpp"

namespace morvex {

/// How the steps of the case are divided for time differences.
struct CompressTimeDiffsMetaData {
  std::uint32_t blockSize = 0;  ///< Steps in one block: a power of two, at least 2.
  std::uint32_t maxDepth = 0;   ///< Blocks between forced key steps; no forcing at 0.
};

/// Reads the record "metadatapertimestep" and stores box i in `states[i].boundingBox`; states
/// without a box keep theirs. Boxes beyond the states are skipped with one line at WARNING.
/// UsageException for a version above 0.0.0, InternalError for bytes that can't be read.
void readMetaPerTimeStep(std::span<const std::byte> bytes, std::span<GeometryMetadata> states);

/// Reads the record "timediffsmd", with the same failures.
[[nodiscard]] CompressTimeDiffsMetaData readCompressTimeDiffsMetaData(
    std::span<const std::byte> bytes);

}  // namespace morvex

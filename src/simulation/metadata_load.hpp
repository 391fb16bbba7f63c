#pragma once

#include "metadata/metadata_version.hpp"
#include "simulation/simulation_metadata.hpp"

namespace Kelbor::MathModule {
class HierarchicalFileInterface;
}

namespace morvex {

/// The version of this reader in the files' numbering: a file that requires a higher one is
/// refused.
inline constexpr MetadataVersion kReaderVersion{7, 0, 1048};

/// Reads all metadata of a file, in a fixed order. If the version record is missing, all tables
/// stay empty. UsageException for a file or a record that needs a newer reader, InternalError for
/// damaged records, std::out_of_range for an invalid index from one record into another.
[[nodiscard]] SimulationMetadata loadMetadata(Kelbor::MathModule::HierarchicalFileInterface& file);

}  // namespace morvex

#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/error.hpp"
#include "metadata/record_cursor.hpp"

namespace morvex {

/// Version of a record, of a nested block or of the program that a file requires. Ordered by
/// major, then minor, then patch.
struct MetadataVersion {
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  std::uint32_t patch = 0;

  auto operator<=>(const MetadataVersion&) const = default;

  /// "major.minor.patch" in plain decimal.
  [[nodiscard]] std::string toString() const {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
  }
};

/// Reads the 12 bytes of a version; InternalError if there are fewer.
[[nodiscard]] inline MetadataVersion readVersion(RecordCursor& cursor) {
  MetadataVersion version;
  version.major = cursor.read<std::uint32_t>();
  version.minor = cursor.read<std::uint32_t>();
  version.patch = cursor.read<std::uint32_t>();
  return version;
}

/// Reads the version at the start of a record. Refuses one above `highest` with UsageException:
/// `messagePrefix` followed by the stored version, which is what the file requires.
inline MetadataVersion requireReadableVersion(RecordCursor& cursor, const MetadataVersion& highest,
                                              std::string_view messagePrefix) {
  const MetadataVersion version = readVersion(cursor);
  if (version > highest) {
    Kelbor::raise<UsageException>(std::string(messagePrefix) + version.toString());
  }
  return version;
}

}  // namespace morvex

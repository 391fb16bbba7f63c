#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace morvex::Bench {

struct StoredStream {
  std::vector<std::byte> bytes;
  std::size_t inflatedSize = 0;
};

/// The zlib streams of all coordinates and variables of a container, as its chunk tables store
/// them.
[[nodiscard]] std::vector<StoredStream> storedStreams(const std::string& path);

/// Groups and datasets of a container, counted by listing each group.
[[nodiscard]] std::uint64_t countEntries(const std::string& path);

/// Inflates each stream in one call with the engine alone. `target` has room for the largest.
void inflateWithZlib(const std::vector<StoredStream>& streams, std::vector<std::byte>& target);
/// False if the build lacks igzip.
[[nodiscard]] bool hasIgzip();
void inflateWithIgzip(const std::vector<StoredStream>& streams, std::vector<std::byte>& target);

}  // namespace morvex::Bench

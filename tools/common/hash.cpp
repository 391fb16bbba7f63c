#include "common/hash.hpp"

// Header-only, so that nothing is linked for it.
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace morvex::tools {

std::uint64_t hashOf(std::span<const std::byte> bytes, std::uint64_t key) {
  return XXH64(bytes.data(), bytes.size(), key);
}

std::uint64_t hashOf(std::string_view text) {
  return XXH64(text.data(), text.size(), 0);
}

}  // namespace morvex::tools

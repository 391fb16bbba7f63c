#include "metadata/con_params.hpp"

#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {

std::vector<std::vector<std::byte>> readRecipeConParams(std::span<const std::byte> bytes) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "RecipeCtor meta data requires meta data version ");

  std::vector<std::vector<std::byte>> blocks(readSignedCount(cursor, sizeof(std::int32_t)));
  for (std::vector<std::byte>& block : blocks) {
    block = readVector<std::byte>(cursor, readSignedCount(cursor, 1));
  }
  return blocks;
}

}  // namespace morvex

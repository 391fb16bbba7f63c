#include "metadata/step_records.hpp"

#include <algorithm>

#include "core/log.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {

void readMetaPerTimeStep(std::span<const std::byte> bytes, std::span<GeometryMetadata> states) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0},
                         "MetaPerTimeStep meta data requires meta data version ");

  const std::uint64_t boxes = cursor.readCount(sizeof(StoredBox));
  const std::uint64_t used = std::min<std::uint64_t>(boxes, states.size());
  for (std::uint64_t i = 0; i < used; ++i) states[i].boundingBox = cursor.read<StoredBox>();
  if (boxes > used) {
    Kelbor::getLogger().warning() << "Bounding boxes for " << boxes << " time steps, but only "
                                  << states.size() << " stored states: the rest is ignored";
  }
}

CompressTimeDiffsMetaData readCompressTimeDiffsMetaData(std::span<const std::byte> bytes) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0},
                         "CompressTimeDiffsMetaData meta data requires meta data version ");

  CompressTimeDiffsMetaData record;
  record.blockSize = cursor.read<std::uint32_t>();
  record.maxDepth = cursor.read<std::uint32_t>();
  return record;
}

}  // namespace morvex

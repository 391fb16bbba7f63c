#include "metadata/time_records.hpp"

#include <utility>

#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {

TimeSet::TimeSet(std::uint32_t id, std::uint32_t index, std::int32_t numberOfSteps,
                 std::int32_t filenameStart, std::uint32_t filenameIncrement,
                 std::vector<std::uint32_t> filenameNumbers, std::string description,
                 std::vector<float> timeValues)
    : id_(id),
      index_(index),
      numberOfSteps_(numberOfSteps),
      filenameStart_(filenameStart),
      filenameIncrement_(filenameIncrement),
      filenameNumbers_(std::move(filenameNumbers)),
      description_(std::move(description)),
      timeValues_(std::move(timeValues)) {}

TimeSet::~TimeSet() = default;

FileSet::FileSet(std::uint32_t id, std::uint32_t index, std::uint32_t numberOfSteps,
                 std::uint32_t fileIndex)
    : id_(id), index_(index), numberOfSteps_(numberOfSteps), fileIndex_(fileIndex) {}

FileSet::~FileSet() = default;

std::unique_ptr<TimeSet> readTimeSet(std::span<const std::byte> bytes, std::uint32_t index) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "Time set meta data requires meta data version ");

  const auto id = cursor.read<std::uint32_t>();
  const auto descriptionLength = cursor.read<std::uint64_t>();
  std::string description(Kelbor::textOf(cursor.take(descriptionLength)));
  const auto numberOfSteps = cursor.read<std::int32_t>();
  const std::uint64_t n = numberOfSteps > 0 ? static_cast<std::uint64_t>(numberOfSteps) : 0;
  std::vector<float> timeValues = readVector<float>(cursor, n);
  const auto filenameStart = cursor.read<std::int32_t>();
  std::uint32_t filenameIncrement = 0;
  std::vector<std::uint32_t> filenameNumbers;
  if (filenameStart < 0) {
    filenameNumbers = readVector<std::uint32_t>(cursor, n);
  } else {
    filenameIncrement = cursor.read<std::uint32_t>();
  }
  return std::make_unique<TimeSet>(id, index, numberOfSteps, filenameStart, filenameIncrement,
                                   std::move(filenameNumbers), std::move(description),
                                   std::move(timeValues));
}

std::unique_ptr<FileSet> readFileSet(std::span<const std::byte> bytes, std::uint32_t index) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "FileSet meta data requires meta data version ");

  const auto id = cursor.read<std::uint32_t>();
  const auto numberOfSteps = cursor.read<std::uint32_t>();
  const auto fileIndex = cursor.read<std::uint32_t>();
  return std::make_unique<FileSet>(id, index, numberOfSteps, fileIndex);
}

}  // namespace morvex

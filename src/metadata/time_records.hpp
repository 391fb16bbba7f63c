#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace morvex {

/// A named list of time values with the numbering of the host's files. Queries use only the values
/// and their count; the rest belongs to the host's case description.
class TimeSet {
 public:
  TimeSet(std::uint32_t id, std::uint32_t index, std::int32_t numberOfSteps,
          std::int32_t filenameStart, std::uint32_t filenameIncrement,
          std::vector<std::uint32_t> filenameNumbers, std::string description,
          std::vector<float> timeValues);
  virtual ~TimeSet();

  /// The set's number in the host's case.
  [[nodiscard]] std::uint32_t id() const noexcept { return id_; }
  /// The number in the name of the set's dataset.
  [[nodiscard]] std::uint32_t index() const noexcept { return index_; }
  /// As stored: a count that is not positive has no time values.
  [[nodiscard]] std::int32_t numberOfSteps() const noexcept { return numberOfSteps_; }
  /// Below zero if a list numbers the files instead of start and increment.
  [[nodiscard]] std::int32_t filenameStart() const noexcept { return filenameStart_; }
  /// 0 if a list numbers the files.
  [[nodiscard]] std::uint32_t filenameIncrement() const noexcept { return filenameIncrement_; }
  /// One for each step, or empty.
  [[nodiscard]] const std::vector<std::uint32_t>& filenameNumbers() const noexcept {
    return filenameNumbers_;
  }
  [[nodiscard]] const std::string& description() const noexcept { return description_; }
  /// The time of each step, in the unit of the analysis.
  [[nodiscard]] const std::vector<float>& timeValues() const noexcept { return timeValues_; }

 private:
  std::uint32_t id_;
  std::uint32_t index_;
  std::int32_t numberOfSteps_;
  std::int32_t filenameStart_;
  std::uint32_t filenameIncrement_;
  std::vector<std::uint32_t> filenameNumbers_;
  std::string description_;
  std::vector<float> timeValues_;
};

/// A file set of the host's case; kept, no query uses it.
class FileSet {
 public:
  FileSet(std::uint32_t id, std::uint32_t index, std::uint32_t numberOfSteps,
          std::uint32_t fileIndex);
  virtual ~FileSet();

  [[nodiscard]] std::uint32_t id() const noexcept { return id_; }
  /// The number in the name of the set's dataset.
  [[nodiscard]] std::uint32_t index() const noexcept { return index_; }
  [[nodiscard]] std::uint32_t numberOfSteps() const noexcept { return numberOfSteps_; }
  [[nodiscard]] std::uint32_t fileIndex() const noexcept { return fileIndex_; }

 private:
  std::uint32_t id_;
  std::uint32_t index_;
  std::uint32_t numberOfSteps_;
  std::uint32_t fileIndex_;
};

/// Reads one record "ts_<index>"; never null. UsageException for a version above 0.0.0,
/// InternalError for bytes that can't be read.
[[nodiscard]] std::unique_ptr<TimeSet> readTimeSet(std::span<const std::byte> bytes,
                                                   std::uint32_t index);

/// Reads one record "fs_<index>", with the same failures; never null.
[[nodiscard]] std::unique_ptr<FileSet> readFileSet(std::span<const std::byte> bytes,
                                                   std::uint32_t index);

}  // namespace morvex

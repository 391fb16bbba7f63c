#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace morvex {

/// How a value was quantised; the numbers are those of the file.
enum class QuantizationType : std::uint32_t {
  UniformQuantization = 0,                ///< One parameter: the step.
  RelativeQuantization = 1,               ///< One: percentage of the variable's largest value.
  AdaptiveShiftQuantization = 2,          ///< Four, for coordinates only.
  AdaptiveExponentQuantization = 3,       ///< Four, for variables only.
  AdaptiveScaledExponentQuantization = 4  ///< One; not found in files.
};

struct PrecisionSetting {
  QuantizationType type = QuantizationType::UniformQuantization;
  std::vector<double> parameters;

  bool operator==(const PrecisionSetting&) const = default;
};

/// True if values were stored unchanged: a uniform step of exactly 0.
[[nodiscard]] bool isExact(const PrecisionSetting& setting);

/// Whether `text` matches `pattern`, in which only '*' is special. A '*' at the pattern's end
/// matches any rest, also none; one with more after it needs at least one character left, so "*a"
/// matches "a" and "ba", and "a**" doesn't match "a". Takes time up to the product of the lengths.
[[nodiscard]] bool matchesWildcard(std::string_view pattern, std::string_view text);

/// The quantisation settings of a case by name pattern, and the largest absolute value of each
/// variable, which turns relative settings into steps. Look-ups fill memos: one thread at a time.
class Precisions {
 public:
  /// `tag` names the kind of case the table belongs to.
  explicit Precisions(std::string tag) : tag_(std::move(tag)) {}

  /// Adds a setting for the names that match `key`; messages name `source` as its origin.
  /// InternalError for a key that exists, and for a type that is not for "coordinates" or only for
  /// "coordinates".
  void addEntry(const std::string& key, PrecisionSetting setting, const std::string& source);

  /// The setting stored for `name`: its own entry, else that of the one pattern it matches. None
  /// if no entry matches; UsageException if several patterns do.
  [[nodiscard]] std::optional<PrecisionSetting> find(const std::string& name);

  /// The setting to decode `name` with. Falls back to the entry for "DEFAULT_VARIABLE_PRECISION",
  /// except for "coordinates" and "mcoordinates", and then to a step of 0; turns a relative setting
  /// into a step. Logs each name once at DEBUG. Fails as `find` does, with std::runtime_error if a
  /// relative setting has no largest value to refer to, and with std::out_of_range if the setting
  /// has too few parameters. The reference is valid until the table is read again.
  [[nodiscard]] const PrecisionSetting& getPrecision(const std::string& name);

  /// Ordered by key, which may contain wildcards.
  [[nodiscard]] const std::map<std::string, PrecisionSetting>& entries() const noexcept {
    return entries_;
  }
  /// Largest absolute value by variable name, if one is recorded.
  [[nodiscard]] const std::map<std::string, double>& maxValues() const noexcept {
    return maxValues_;
  }
  [[nodiscard]] const std::string& tag() const noexcept { return tag_; }

 private:
  friend void readPrecisions(std::span<const std::byte> bytes, Precisions& precisions,
                             std::uint64_t numVariables,
                             std::span<const std::string> variableNames);

  [[nodiscard]] PrecisionSetting settle(const std::string& name);
  [[nodiscard]] PrecisionSetting absoluteSetting(const std::string& name, double percentage) const;

  std::map<std::string, PrecisionSetting> entries_;
  std::map<std::string, double> maxValues_;
  std::map<std::string, PrecisionSetting> settled_;   ///< By name, those logged already.
  std::map<std::string, PrecisionSetting> resolved_;  ///< Wildcard results of `find`.
  std::string tag_;
};

/// Reads the record "precisions" into the table, whose entries it replaces. `variableNames` has
/// the variables in the order of their record. UsageException for a version above 0.0.0,
/// InternalError for bytes that can't be read, a key width above 1 MiB, an unknown type and what
/// `addEntry` refuses; std::out_of_range for a largest value of a variable without a name.
void readPrecisions(std::span<const std::byte> bytes, Precisions& precisions,
                    std::uint64_t numVariables, std::span<const std::string> variableNames);

}  // namespace morvex

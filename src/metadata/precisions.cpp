#include "metadata/precisions.hpp"

#include <cmath>
#include <stdexcept>

#include "core/checked.hpp"
#include "core/log.hpp"
#include "metadata/exception.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_fields.hpp"

namespace morvex {
namespace {

constexpr std::string_view kCoordinates = "coordinates";
constexpr std::string_view kMeasuredCoordinates = "mcoordinates";
constexpr const char* kDefaultEntry = "DEFAULT_VARIABLE_PRECISION";
constexpr const char* kLineStart = "Precision(";
constexpr const char* kFileSource = "<compressed file>";

/// Parameters stored with every entry, however many its type uses.
constexpr std::size_t kParameterCount = 4;
constexpr std::size_t kParameterRoom = kParameterCount * sizeof(double);

/// The step that replaces a relative step of exactly 0, which a variable of zeros has.
constexpr double kStepForZero = 0.11111;

PrecisionSetting uniformSetting(double step) {
  return {QuantizationType::UniformQuantization, {step}};
}

/// Shortens a step to about five significant decimal digits, so that its bits don't depend on how
/// it was computed. The order of the operations is fixed.
double shortenStep(double step) {
  for (int k = -32; k < 32; ++k) {
    const double p = std::pow(10.0, k);
    if (step * p > 10000.0) return std::round(step * p) / p;
  }
  return step;
}

/// Parameter `index`; std::out_of_range if the setting has fewer.
double parameter(const PrecisionSetting& setting, std::size_t index) {
  return Kelbor::checkedAt(setting.parameters, index);
}

/// Fetches the parameters before the line begins: a setting with too few leaves no half line.
void logValue(const std::string& name, const char* label, const PrecisionSetting& setting) {
  const double value = parameter(setting, 0);
  Kelbor::getLogger().debug() << kLineStart << name << label << value;
}

void logFourValues(const std::string& name, const char* label, const PrecisionSetting& setting) {
  const double last = parameter(setting, kParameterCount - 1);
  Kelbor::getLogger().debug() << kLineStart << name << label << parameter(setting, 0) << ", "
                              << parameter(setting, 1) << ", " << parameter(setting, 2) << ", "
                              << last;
}

PrecisionSetting readSetting(RecordCursor& cursor) {
  const auto type = cursor.read<std::uint32_t>();
  const auto room = cursor.take(kParameterRoom);
  if (type > static_cast<std::uint32_t>(QuantizationType::AdaptiveExponentQuantization)) {
    Kelbor::raise<InternalError>("Unhandled QuantizationType!");
  }
  PrecisionSetting setting;
  setting.type = static_cast<QuantizationType>(type);
  const bool isAdaptive = setting.type == QuantizationType::AdaptiveShiftQuantization ||
                          setting.type == QuantizationType::AdaptiveExponentQuantization;
  RecordCursor parameters(room);
  setting.parameters = readVector<double>(parameters, isAdaptive ? kParameterCount : 1);
  return setting;
}

}  // namespace

bool isExact(const PrecisionSetting& setting) {
  return setting.type == QuantizationType::UniformQuantization && setting.parameters.at(0) == 0.0;
}

bool matchesWildcard(std::string_view pattern, std::string_view text) {
  // Only the last '*' passed is tried again: if its rest fails from the earliest position on, a
  // later position of an earlier '*' leaves it even less text.
  std::size_t p = 0;
  std::size_t t = 0;
  std::size_t afterStar = 0;  // 0: no '*' passed yet
  std::size_t retryAt = 0;
  for (;;) {
    if (p < pattern.size() && pattern[p] == '*') {
      if (p + 1 == pattern.size()) return true;
      if (t == text.size()) return false;
      afterStar = ++p;
      retryAt = t;
    } else if (p == pattern.size() && t == text.size()) {
      return true;
    } else if (p < pattern.size() && t < text.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else {
      if (afterStar == 0 || ++retryAt >= text.size()) return false;
      p = afterStar;
      t = retryAt;
    }
  }
}

void Precisions::addEntry(const std::string& key, PrecisionSetting setting,
                          const std::string& source) {
  if (entries_.contains(key)) {
    Kelbor::raise<InternalError>("Duplicate precisions key: '" + key + "' (" + source + ")");
  }
  const bool isCoordinates = key == kCoordinates;
  if (setting.type == QuantizationType::RelativeQuantization && isCoordinates) {
    Kelbor::raise<InternalError>("Tried to use relative quantization for coordinates!");
  }
  if (setting.type == QuantizationType::AdaptiveShiftQuantization && !isCoordinates) {
    Kelbor::raise<InternalError>("Tried to use adaptive quantization for variable " + key);
  }
  if (setting.type == QuantizationType::AdaptiveExponentQuantization && isCoordinates) {
    Kelbor::raise<InternalError>("Tried to use linear adaptive quantization for coordinates!");
  }
  entries_.emplace(key, std::move(setting));
}

std::optional<PrecisionSetting> Precisions::find(const std::string& name) {
  if (const auto exact = entries_.find(name); exact != entries_.end()) return exact->second;
  if (const auto known = resolved_.find(name); known != resolved_.end()) return known->second;
  const PrecisionSetting* match = nullptr;
  for (const auto& [key, setting] : entries_) {
    if (!matchesWildcard(key, name)) continue;
    if (match) {
      Kelbor::raise<UsageException>("Precision file: More than one match for variable " + name);
    }
    match = &setting;
  }
  if (!match) return std::nullopt;
  resolved_.emplace(name, *match);
  return *match;
}

const PrecisionSetting& Precisions::getPrecision(const std::string& name) {
  const auto known = settled_.find(name);
  return known != settled_.end() ? known->second
                                 : settled_.emplace(name, settle(name)).first->second;
}

PrecisionSetting Precisions::settle(const std::string& name) {
  std::optional<PrecisionSetting> found = find(name);
  if (!found && name != kCoordinates && name != kMeasuredCoordinates) found = find(kDefaultEntry);
  PrecisionSetting setting = found ? std::move(*found) : uniformSetting(0.0);
  switch (setting.type) {
    case QuantizationType::UniformQuantization:
      logValue(name, ") = ", setting);
      break;
    case QuantizationType::RelativeQuantization:
      setting = absoluteSetting(name, parameter(setting, 0));
      break;
    case QuantizationType::AdaptiveShiftQuantization:
      logFourValues(name, ") = adaptive::[", setting);
      break;
    case QuantizationType::AdaptiveExponentQuantization:
      logFourValues(name, ") = linear_adaptive::[", setting);
      break;
    case QuantizationType::AdaptiveScaledExponentQuantization:
      logValue(name, ") = relative_adaptive::", setting);
      break;
  }
  return setting;
}

PrecisionSetting Precisions::absoluteSetting(const std::string& name, double percentage) const {
  const auto maximum = maxValues_.find(name);
  if (maximum == maxValues_.end()) {
    Kelbor::raise<std::runtime_error>("No maxValue recorded for " + name);
  }
  double step = percentage / 100.0 * maximum->second;
  step = step == 0.0 ? kStepForZero : shortenStep(step);
  Kelbor::getLogger().debug() << kLineStart << name << ") = relative: " << percentage << " * "
                              << maximum->second << " = " << step;
  return uniformSetting(step);
}

void readPrecisions(std::span<const std::byte> bytes, Precisions& precisions,
                    std::uint64_t numVariables, std::span<const std::string> variableNames) {
  RecordCursor cursor(bytes);
  requireReadableVersion(cursor, {0, 0, 0}, "Precisions meta data requires meta data version ");

  const auto storedCount = cursor.read<std::uint64_t>();
  const std::size_t width = requireTextWidth(cursor.read<std::uint64_t>());
  const std::uint64_t count =
      cursor.checkCount(storedCount, width + sizeof(std::uint32_t) + kParameterRoom);
  precisions.entries_.clear();
  precisions.resolved_.clear();
  precisions.settled_.clear();
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string key(Kelbor::textOf(cursor.take(width)));
    precisions.addEntry(key, readSetting(cursor), kFileSource);
  }
  const std::vector<double> maxValues = readVector<double>(cursor, numVariables);
  for (std::size_t v = 0; v < maxValues.size(); ++v) {
    if (maxValues[v] < 0.0) continue;  // none recorded
    precisions.maxValues_.emplace(Kelbor::checkedAt(variableNames, v), maxValues[v]);
  }
}

}  // namespace morvex

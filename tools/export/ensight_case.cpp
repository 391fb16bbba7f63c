#include "export/ensight_case.hpp"

#include <algorithm>
#include <cctype>

#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

// Limits of the format.
constexpr std::size_t kLongestName = 49;
constexpr std::size_t kLongestLine = 79;

/// "1 " for time set 1, nothing for 0.
std::string numberOf(int timeSet) {
  return timeSet == 0 ? "" : std::to_string(timeSet) + " ";
}

/// Numbers after the words of a line, which continues in further lines if it gets too long.
std::string numberLines(std::string line, const std::vector<float>& numbers) {
  for (const float number : numbers) line += " " + numberText(number);
  return wrapped(line, kLongestLine, 1) + "\n";
}

}  // namespace

// Times count too: variables with fewer steps use other times of the same set.
int EnSightCase::timeSet(int timeset, const std::vector<float>& times) {
  if (timeset < 0) return 0;
  const auto known = std::ranges::find_if(
      timeSets_, [&](const TimeSet& set) { return set.timeset == timeset && set.times == times; });
  if (known != timeSets_.end()) return static_cast<int>(known - timeSets_.begin()) + 1;
  timeSets_.push_back({timeset, times});
  return static_cast<int>(timeSets_.size());
}

void EnSightCase::model(int timeSet, const std::string& pattern) {
  geometry_ += "model: " + numberOf(timeSet) + pattern + "\n";
}

void EnSightCase::measured(int timeSet, const std::string& pattern) {
  geometry_ += "measured: " + numberOf(timeSet) + pattern + "\n";
}

void EnSightCase::variable(const std::string& kind, int timeSet, const std::string& name,
                           const std::vector<std::string>& patterns, const std::string& frequency) {
  variables_ += kind + ": " + numberOf(timeSet) + name;
  for (const std::string& pattern : patterns) variables_ += " " + pattern;
  variables_ += (frequency.empty() ? "" : " " + frequency) + "\n";
}

std::string EnSightCase::constant(int timeSet, const std::string& name,
                                  const std::vector<float>& values, const std::string& file) {
  const std::string start = numberOf(timeSet) + name;
  const std::string line = numberLines("constant per case: " + start, values);
  if (line.size() <= kLongestLine + 1) {
    variables_ += line;
    return {};
  }
  variables_ += "constant per case file: " + start + " " + file + "\n";
  return numberLines("", values);
}

std::string EnSightCase::nameLike(const std::string& wanted) {
  std::string base;
  for (const char letter : wanted) {
    const bool isPlain = std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
    // EnSight's expressions would read other characters as operators.
    if (isPlain)
      base += letter;
    else if (!base.empty() && base.back() != '_')
      base += '_';
  }
  while (base.ends_with('_')) base.pop_back();
  if (base.empty() || std::isdigit(static_cast<unsigned char>(base[0])) != 0) base = "v" + base;
  base.resize(std::min(base.size(), kLongestName));
  std::string name = base;
  // Cut again, so that a long name keeps room for its number.
  for (int i = 2; !names_.insert(name).second; ++i) {
    const std::string tail = "_" + std::to_string(i);
    name = base.substr(0, kLongestName - tail.size()) + tail;
  }
  return name;
}

std::string EnSightCase::text() const {
  std::string text = "FORMAT\ntype: ensight gold\n\nGEOMETRY\n" + geometry_;
  if (!variables_.empty()) text += "\nVARIABLE\n" + variables_;
  if (!timeSets_.empty()) text += "\nTIME\n";
  for (std::size_t i = 0; i < timeSets_.size(); ++i) {
    const TimeSet& set = timeSets_[i];
    text += (i == 0 ? "" : "\n");
    text += "time set: " + std::to_string(i + 1) +
            "\nnumber of steps: " + std::to_string(set.times.size()) +
            // Files are numbered through, whatever steps were chosen.
            "\nfilename start number: 0\nfilename increment: 1\n";
    text += numberLines("time values:", set.times);
  }
  return text;
}

}  // namespace morvex::tools

#include "common/selection.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <set>

#include "common/exit_codes.hpp"

namespace morvex::tools {
namespace {

[[noreturn]] void refuseSteps(std::string_view text) {
  throw Failure(kUsageError, "--step '" + std::string(text) +
                                 "' is no number, list or range, such as 0, -1, 0,5 or 3:10:2");
}

/// At least one piece; pieces may be empty.
std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t end = 0; end != std::string_view::npos;) {
    end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end != std::string_view::npos) text.remove_prefix(end + 1);
  }
  return parts;
}

/// The number that all of a text is; nothing for an empty text.
std::optional<int> numberOf(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

/// A bound of a range, nothing where it is left out. Failure kUsageError for what is no number.
std::optional<int> boundOf(std::string_view text, std::string_view whole) {
  const auto number = numberOf(text);
  if (!number && !text.empty()) refuseSteps(whole);
  return number;
}

/// Adds the steps of a range as Python counts them: bounds below 0 are from the end, those beyond an
/// end stop there.
void addRange(const std::vector<std::string_view>& fields, std::string_view text, int count,
              std::set<int>& steps) {
  const int stride = fields.size() > 2 ? boundOf(fields[2], text).value_or(1) : 1;
  if (fields.size() > 3 || stride < 1) refuseSteps(text);
  const auto position = [&](std::optional<int> bound, int otherwise) {
    const int from = bound.value_or(otherwise);
    return std::clamp(from < 0 ? from + count : from, 0, count);
  };
  const int end = position(boundOf(fields[1], text), count);
  // 64 bits: with a stride near the largest int the sum would overflow.
  for (long long step = position(boundOf(fields[0], text), 0); step < end; step += stride) {
    steps.insert(static_cast<int>(step));
  }
}

/// Insertions, removals and changes that lead from one text to the other.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t k = 1; k <= to.size(); ++k) {
      const std::size_t changed = diagonal + (from[i - 1] == to[k - 1] ? 0 : 1);
      diagonal = row[k];
      row[k] = std::min({changed, row[k] + 1, row[k - 1] + 1});
    }
  }
  return row.back();
}

/// The earlier one of two times that are equally near; 0 without times.
int nearestTo(double time, const std::vector<float>& times) {
  const auto nearest = std::ranges::min_element(
      times, {}, [&](float step) { return std::abs(double{step} - time); });
  return nearest == times.end() ? 0 : static_cast<int>(nearest - times.begin());
}

}  // namespace

std::vector<int> stepsOf(std::string_view text, int count) {
  std::set<int> steps;
  for (const std::string_view item : split(text, ',')) {
    const auto fields = split(item, ':');
    if (fields.size() > 1) {
      addRange(fields, text, count, steps);
      continue;
    }
    const auto number = numberOf(item);
    if (!number) refuseSteps(text);
    const long long step = *number < 0 ? static_cast<long long>(*number) + count : *number;
    if (step >= 0 && step < count) steps.insert(static_cast<int>(step));
  }
  return {steps.begin(), steps.end()};
}

// Equal names fit even where they have brackets, such as "wear [mm]", which a pattern would read as a
// set.
bool fitsName(const std::string& text, std::string_view name) {
  return text == name || ::fnmatch(text.c_str(), std::string(name).c_str(), 0) == 0;
}

bool fits(const std::string& text, std::string_view name, int number) {
  return numberOf(text) == number || fitsName(text, name);
}

std::vector<std::string> similarNames(std::string_view text,
                                      const std::vector<std::string>& names) {
  // The distance of two names takes time in proportion to the product of their lengths.
  constexpr std::size_t kMost = 3;
  constexpr std::size_t kLongest = 256;
  std::vector<std::pair<std::size_t, std::string>> similar;
  for (const std::string& name : names) {
    if (name.size() > kLongest || text.size() > kLongest) continue;
    const bool contains = !text.empty() && name.find(text) != std::string::npos;
    // A part of a name is the best hint: people type what they remember.
    const std::size_t far = contains ? 1 : distance(text, name);
    if (far <= std::max<std::size_t>(2, text.size() / 3) && far < text.size()) {
      similar.emplace_back(far, name);
    }
  }
  std::ranges::sort(similar);
  // clang 14 can't compile the range that this library's std::ranges::unique returns.
  similar.erase(std::unique(similar.begin(), similar.end()), similar.end());
  std::vector<std::string> best;
  for (auto& [far, name] : similar) {
    if (best.size() < kMost) best.push_back(std::move(name));
  }
  return best;
}

std::string suggestion(std::string_view text, const std::vector<std::string>& names) {
  std::string words;
  for (const std::string& name : similarNames(text, names)) {
    words += (words.empty() ? "; is it '" : " or '") + name + "'";
  }
  return words.empty() ? words : words + "?";
}

Choice::Choice(const Selection& selection, const File& file, const Contents& contents)
    : selection_(selection), contents_(contents) {
  if (!selection.steps.empty() && selection.time) {
    throw Failure(kUsageError, "--step and --time exclude each other");
  }
  if (!selection.steps.empty()) checkSteps();
  if (namesVariables()) checkVariables();
  if (namesParts()) checkParts(file);
}

void Choice::checkParts(const File& file) const {
  const int states =
      stateAt(contents_.summary.model, static_cast<int>(contents_.summary.model.steps) - 1) + 1;
  for (const std::string& text : selection_.parts) {
    std::vector<std::string> names;
    bool isFound = false;
    for (int state = 0; state < states && !isFound; ++state) {
      int number = 0;
      for (const morvex_part& part : readParts(file, state)) {
        isFound = isFound || fits(text, part.name, number++);
        if (state == 0) names.emplace_back(part.name);
      }
    }
    if (!isFound) {
      throw Failure(kUsageError, "there is no part '" + text + "'" + suggestion(text, names));
    }
  }
}

void Choice::checkVariables() const {
  for (const std::string& text : selection_.variables) {
    std::vector<std::string> names;
    bool isFound = false;
    for (const morvex_variable& variable : contents_.variables) {
      isFound = isFound || fits(text, variable.name, static_cast<int>(names.size()));
      names.emplace_back(variable.name);
    }
    if (!isFound) {
      throw Failure(kUsageError, "there is no variable '" + text + "'" + suggestion(text, names));
    }
  }
}

void Choice::checkSteps() const {
  std::uint64_t most = std::max(
      {std::uint64_t{1}, contents_.summary.model.steps, contents_.summary.particles.steps});
  for (const morvex_variable& variable : contents_.variables) most = std::max(most, variable.steps);
  for (const std::string_view item : split(selection_.steps, ',')) {
    if (!stepsOf(item, static_cast<int>(most)).empty()) continue;
    throw Failure(kUsageError, "there is no step " + std::string(item) + ": the last one is " +
                                   std::to_string(most - 1));
  }
}

bool Choice::hasPart(int number, std::string_view name) const {
  return !namesParts() || std::ranges::any_of(selection_.parts, [&](const std::string& text) {
    return fits(text, name, number);
  });
}

bool Choice::hasVariable(int number) const {
  const char* name = contents_.variables.at(static_cast<std::size_t>(number)).name;
  return !namesVariables() ||
         std::ranges::any_of(selection_.variables,
                             [&](const std::string& text) { return fits(text, name, number); });
}

std::vector<int> Choice::steps(int timeset, std::uint64_t count) const {
  // What has one state has it at every step.
  if (count <= 1) return std::vector<int>(static_cast<std::size_t>(count), 0);
  if (selection_.time) {
    const auto& sets = contents_.timesets;
    // Without times the first step is as near as any.
    const bool isKnown = timeset >= 0 && static_cast<std::size_t>(timeset) < sets.size();
    return {isKnown ? nearestTo(*selection_.time, sets[static_cast<std::size_t>(timeset)]) : 0};
  }
  return stepsOf(selection_.steps.empty() ? ":" : selection_.steps, static_cast<int>(count));
}

int Choice::modelStep() const {
  const morvex_geometry& model = contents_.summary.model;
  if (namesSteps() && steps(model.timeset, model.steps).size() > 1) {
    throw Failure(kUsageError, "one step of the model can be shown at a time");
  }
  return firstModelStep();
}

int Choice::firstModelStep() const {
  if (!namesSteps()) return 0;
  const morvex_geometry& model = contents_.summary.model;
  const std::vector<int> chosen = steps(model.timeset, model.steps);
  return chosen.empty() ? 0 : chosen.front();
}

}  // namespace morvex::tools

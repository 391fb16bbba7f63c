#pragma once

#include <array>
#include <compare>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/contents.hpp"
#include "common/selection.hpp"
#include "common/values.hpp"

namespace morvex::tools {

/// What `morvex info` shows of a file: metadata, and ranges on request. Texts belong to the file.
struct Info {
  /// What a range is of.
  struct RangeKey {
    int step = -1;  ///< -1 for all steps
    int component = 0;
    bool isImaginary = false;
    friend auto operator<=>(const RangeKey&, const RangeKey&) = default;
  };
  struct Part {
    int number = 0;
    morvex_part facts;
  };
  struct Variable {
    int number = 0;
    morvex_variable facts;
    std::vector<float> constants;           ///< of a constant, its number at each step
    std::map<RangeKey, ValueRange> ranges;  ///< of its arrays, if asked for
  };

  std::string path;
  Contents contents;
  int step = 0;  ///< the step of the model that parts and box belong to
  std::vector<Part> parts;
  std::optional<std::array<float, 6>> box;
  std::vector<std::uint64_t> particles;  ///< their number at each state; may be empty
  std::vector<Variable> variables;
};

/// Asks what the selection names, with ranges on request; `contents.problems` lists failed questions.
/// Failure kUsageError.
[[nodiscard]] Info readInfo(const std::string& path, const File& file, const Selection& selection,
                            bool withRanges, const Common& common);

/// Decodes the variables of the choice and fills in their ranges, by step if the choice names steps.
/// Throws Interrupted. info_ranges.cpp.
void readRanges(Info& info, const File& file, const Choice& choice, const Common& common);
/// A table of the ranges; empty without any.
[[nodiscard]] std::string rangeTable(const Info& info, std::size_t width);
/// For example "x" or "xy imaginary"; empty for the real part of a scalar.
[[nodiscard]] std::string componentText(const morvex_variable& variable, const Info::RangeKey& key);

/// Tables for people, shortened to a width unless that is 0.
[[nodiscard]] std::string infoText(const Info& info, std::size_t width);

/// One JSON object; NaN and infinities are null. The README lists its keys.
[[nodiscard]] std::string infoJson(const Info& info);

/// Names for the library's codes, for example "vector" or "node".
[[nodiscard]] std::string typeName(const morvex_variable& variable);
[[nodiscard]] std::string locationName(const morvex_variable& variable);
[[nodiscard]] std::string changeName(const morvex_geometry& geometry);

}  // namespace morvex::tools

#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "common/contents.hpp"
#include "common/selection.hpp"

namespace morvex::tools {

/// What `morvex info` shows of a file, all of it from metadata. Texts belong to the file.
struct Info {
  struct Part {
    int number = 0;
    morvex_part facts;
  };
  struct Variable {
    int number = 0;
    morvex_variable facts;
    std::vector<float> constants;  ///< of a constant, its number at each step
  };

  std::string path;
  Contents contents;
  int step = 0;  ///< the step of the model that parts and box belong to
  std::vector<Part> parts;
  std::optional<std::array<float, 6>> box;
  std::vector<std::uint64_t> particles;  ///< their number at each state; may be empty
  std::vector<Variable> variables;
};

/// Asks what the selection names; `contents.problems` lists failed questions. Failure kUsageError.
[[nodiscard]] Info readInfo(const std::string& path, const File& file, const Selection& selection);

/// Tables for people, shortened to a width unless that is 0.
[[nodiscard]] std::string infoText(const Info& info, std::size_t width);

/// One JSON object; NaN and infinities are null. The README lists its keys.
[[nodiscard]] std::string infoJson(const Info& info);

/// Names for the library's codes, for example "vector" or "node".
[[nodiscard]] std::string typeName(const morvex_variable& variable);
[[nodiscard]] std::string locationName(const morvex_variable& variable);
[[nodiscard]] std::string changeName(const morvex_geometry& geometry);

}  // namespace morvex::tools

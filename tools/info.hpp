#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "contents.hpp"

namespace morvex::tools {

/// What `morvex info` tells about the open file, all of it from metadata.
struct Info {
  std::string path;
  std::string release;  ///< of the library
  int step = 0;         ///< the step of the model that parts and box belong to
  Contents contents;
  std::vector<Part> parts;
  std::optional<Box> box;
  std::vector<std::uint64_t> particles;       ///< their number for each state; empty without any
  std::vector<std::vector<float>> constants;  ///< by variable; empty for those with arrays
};

/// Asks the open session; failed questions are told in `contents.problems`.
[[nodiscard]] Info readInfo(const std::string& path, int step);

/// Tables for people.
[[nodiscard]] std::string infoText(const Info& info);

/// One JSON object; numbers that are none are null. The README lists its keys.
[[nodiscard]] std::string infoJson(const Info& info);

/// Names of the numbers that the library answers with, for example "vector" or "node".
[[nodiscard]] std::string typeName(const Variable& variable);
[[nodiscard]] std::string locationName(const Variable& variable);
[[nodiscard]] std::string adaptivityName(Adaptivity adaptivity);

}  // namespace morvex::tools

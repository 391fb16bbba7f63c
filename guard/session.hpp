#pragma once

#include <optional>
#include <string>
#include <vector>

#include "facts.hpp"
#include "walk.hpp"

namespace morvex::guard {

/// The process's one session as the guard sees it.
struct Session {
  std::optional<Facts> facts;      ///< of the open file; nothing without one
  std::vector<std::string> paths;  ///< of the datasets that were asked for last
  Walk walk;
};

}  // namespace morvex::guard

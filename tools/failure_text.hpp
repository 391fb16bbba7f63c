#pragma once

#include <string>

namespace morvex::tools {

/// What the exception in flight says, in one line. To be called in a catch block.
[[nodiscard]] std::string failureText();

}  // namespace morvex::tools

#pragma once

#include <string>

namespace morvex::tools {

/// What the exception in flight says, in one line. To be called in a catch block; knows the
/// standard exceptions and those of the library, and names the class of any other.
[[nodiscard]] std::string failureText();

}  // namespace morvex::tools

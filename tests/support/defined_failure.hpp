#pragma once

#include <string>

namespace morvex {

/// To be called in a handler. Empty if the exception's class is documented for damaged files,
/// otherwise the name of the class. Lack of memory is not documented: sizes that could exhaust it
/// are refused before allocation.
[[nodiscard]] std::string undefinedFailure();

}  // namespace morvex

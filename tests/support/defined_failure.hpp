#pragma once

#include <string>

namespace morvex {

/// To be called where an exception is caught: empty if it is of a class that callers are told of
/// for damaged files, else the name of its class. Memory that runs out is not among them: a claim
/// that could use it up is refused before.
[[nodiscard]] std::string undefinedFailure();

}  // namespace morvex

#pragma once

#include <string>

#include "support/defined_failure.hpp"

namespace morvex::Fuzz {

/// Ends the process with the name of an exception class that is not in the contract; goes on for an
/// empty name.
void requireNone(const std::string& undefined);

/// Runs an operation on damaged bytes: it may succeed or fail as the contract says. Any other
/// exception is a find.
template <class Action>
void expectDefined(Action&& action) {
  try {
    action();
  } catch (...) {
    requireNone(undefinedFailure());
  }
}

}  // namespace morvex::Fuzz

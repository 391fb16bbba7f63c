#pragma once

#include <string>

#include "support/defined_failure.hpp"

namespace morvex::Fuzz {

/// Aborts with the name of an exception class that is not in the contract; does nothing for an
/// empty name.
void requireNone(const std::string& undefined);

/// Runs an operation on damaged bytes, which may succeed or fail by the contract. Any other
/// exception is a finding.
template <class Action>
void expectDefined(Action&& action) {
  try {
    action();
  } catch (...) {
    requireNone(undefinedFailure());
  }
}

}  // namespace morvex::Fuzz

#pragma once

#include <string>

/// The message of the exception E that `call` throws, without the additions of its class; a fixed
/// text if it throws nothing of the kind.
template <class E, class F>
[[nodiscard]] std::string messageOf(F&& call) {
  try {
    call();
  } catch (const E& failure) {
    if constexpr (requires { failure.message(); }) {
      return failure.message();
    } else if constexpr (requires { failure.getMessage(); }) {
      return failure.getMessage();
    } else {
      return failure.what();
    }
  }
  return "(nothing was raised)";
}

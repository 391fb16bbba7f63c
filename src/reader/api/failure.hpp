#pragma once

#include <string>

#include "morvex/morvex.h"

namespace morvex::Api {

/// Why a call failed.
struct Failure {
  morvex_code code = MORVEX_OK;
  /// Part of the request; -1 if not given.
  int step = -1;
  int part = -1;
  /// Path of a dataset; empty if unknown.
  std::string path{};
  std::string text{};
};

/// A call refused by this interface, before or instead of a read.
class Refusal {
 public:
  Refusal(morvex_code code, std::string text) : failure_{.code = code, .text = std::move(text)} {}
  explicit Refusal(Failure failure) : failure_(std::move(failure)) {}
  [[nodiscard]] const Failure& failure() const noexcept { return failure_; }

 private:
  Failure failure_;
};

/// Code and text for the class of the exception in flight.
[[nodiscard]] Failure failureInFlight();

/// The failure in the form of the C interface; borrows the texts.
[[nodiscard]] morvex_error shown(const Failure& failure) noexcept;

/// Stores the failure as the thread's last one and returns its code.
morvex_code settle(Failure failure) noexcept;
/// Marks the thread's last call as successful.
morvex_code settleSuccess() noexcept;
/// The thread's last failure; its pointers are valid until the next call of settle.
[[nodiscard]] const morvex_error* lastFailure() noexcept;

}  // namespace morvex::Api

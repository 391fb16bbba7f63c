#pragma once

#include <exception>
#include <string>

#include "morvex/morvex_guard.h"

namespace morvex::guard {

/// A check of the guard's own that failed. Everything else that is thrown comes from the library.
class Refusal : public std::exception {
 public:
  Refusal(mxg_code code, std::string text) : code_(code), text_(std::move(text)) {}
  [[nodiscard]] mxg_code code() const noexcept { return code_; }
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

 private:
  mxg_code code_;
  std::string text_;
};

[[noreturn]] void refuse(mxg_code code, const std::string& text);

/// The code of the exception in flight; to be called in a catch block.
[[nodiscard]] mxg_code codeOfFailure() noexcept;

/// Writes code and text of the exception in flight, and the dataset if the library names it itself.
/// To be called in a catch block. Takes no memory, which may just have run out.
void describeFailure(mxg_error& error) noexcept;

/// Copies the first line of a text into one of the fields of an error, cut to its size.
void copyLine(const char* line, char (&field)[MXG_TEXT_SIZE]) noexcept;

}  // namespace morvex::guard

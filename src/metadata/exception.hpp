#pragma once

#include <string>
#include <utility>

#include "core/error.hpp"

namespace morvex {

/// Failures of the result-file layer. Not derived from the core's or the standard exceptions, and
/// not logged. The order of the virtual operations is fixed: hosts reach the message through it.
class Exception {
 public:
  explicit Exception(std::string message) : message_(std::move(message)) {}
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception();
  /// Valid as long as the exception.
  [[nodiscard]] virtual const char* getMessage() const noexcept;
  /// A fixed text with advice for the user.
  [[nodiscard]] virtual const char* getHelp() const noexcept = 0;

 private:
  std::string message_;
};

/// What a user can correct: a file that needs a newer reader, an ambiguous precision pattern.
class UsageException : public Exception {
 public:
  using Exception::Exception;
  [[nodiscard]] const char* getHelp() const noexcept override;
};

/// Bad data in a record, a recipe or a parameter block, or a read that missed its target.
class InternalError : public Exception {
 public:
  using Exception::Exception;
  [[nodiscard]] const char* getHelp() const noexcept override;
};

}  // namespace morvex

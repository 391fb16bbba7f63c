#pragma once

#include <concepts>
#include <exception>
#include <string>
#include <type_traits>

#include "core/log.hpp"

namespace Kelbor {

/// Failures of the data-flow core. Constructing one writes its text to the error log at once, so
/// that it leaves a line there even if somebody catches it.
class Exception : public std::exception {
 public:
  static constexpr const char* kTypeName = "Exception";

  /// `cause` may be null; it is borrowed and must outlive the last call of what().
  Exception(std::string typeName, std::string message, std::string file, int line,
            std::string function, const std::exception* cause = nullptr);

  /// "type: message @file:line[function]", and the cause's text on a line of its own.
  [[nodiscard]] const char* what() const noexcept override;

  [[nodiscard]] const std::string& message() const noexcept { return message_; }

 private:
  std::string typeName_;
  std::string message_;
  std::string file_;
  int line_;
  std::string function_;
  const std::exception* cause_;
  mutable std::string whatText_;
};

/// Misuse of containers and providers, conflicting access, damaged container bytes and payloads.
class KelborDataException : public Exception {
 public:
  static constexpr const char* kTypeName = "KelborDataException";
  using Exception::Exception;
};

/// An allocation that the data manager could not serve.
class MemoryAllocationException : public Exception {
 public:
  static constexpr const char* kTypeName = "MemoryAllocationException";
  using Exception::Exception;
};

/// An accessor's element type is not the provider's.
class TypeMismatchException : public Exception {
 public:
  static constexpr const char* kTypeName = "TypeMismatchException";
  using Exception::Exception;
};

}  // namespace Kelbor

namespace morvex {

/// Failures of the result-file layer: apart from the core's and from the standard ones, and silent
/// in the log. The order of the virtual operations is fixed: hosts reach the message through it.
class Exception {
 public:
  explicit Exception(std::string message) : message_(std::move(message)) {}
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception();
  /// Valid as long as the exception.
  [[nodiscard]] virtual const char* getMessage() const noexcept;
  /// A fixed text that tells the user what to do.
  [[nodiscard]] virtual const char* getHelp() const noexcept = 0;

 private:
  std::string message_;
};

/// What a user can cure: a file that needs a newer reader, an ambiguous precision pattern.
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

namespace Kelbor {

/// The single way to fail: leaves the message where errors of that family are logged, then throws.
/// The core's exceptions log themselves, standard ones are logged here, and those of the
/// result-file layer carry their text to the host without a line.
template <class E>
[[noreturn]] void raise(const std::string& message) {
  if constexpr (std::derived_from<E, Exception>) {
    throw E(E::kTypeName, message, "<file>", -1, "<function>");
  } else {
    if constexpr (std::derived_from<E, std::exception>) {
      getLogger().error() << message;
    }
    throw E(message);
  }
}

/// Writes the message to the fatal log and aborts: for broken ownership that must not be survived.
[[noreturn]] void abortProcess(const char* message);

}  // namespace Kelbor

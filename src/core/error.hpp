#pragma once

#include <concepts>
#include <exception>
#include <string>
#include <type_traits>

#include "core/log.hpp"

namespace Kelbor {

/// Failures of the data-flow core. The constructor writes the text to the error log, so a failure
/// that is caught and dropped leaves a line as well.
class Exception : public std::exception {
 public:
  static constexpr const char* kTypeName = "Exception";

  /// `cause` may be null; it is borrowed and must outlive the last call of what().
  Exception(std::string typeName, std::string message, std::string file, int line,
            std::string function, const std::exception* cause = nullptr);

  /// "type: message @file:line[function]", followed by the cause's text on a line of its own.
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

/// The way to fail: logs the message as its family of errors demands, then throws. The core's
/// exceptions log themselves, standard ones are logged here, and those of the result-file layer
/// reach the host without a log line.
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

/// The same without a log line: for look-ups beyond a table, sizes that overflow, and failures that
/// log a line of another text.
template <std::derived_from<std::exception> E>
[[noreturn]] void raiseUnlogged(const std::string& message) {
  throw E(message);
}

/// Writes the message to the fatal log and aborts. For broken ownership: going on would corrupt
/// memory.
[[noreturn]] void abortProcess(const char* message);

}  // namespace Kelbor

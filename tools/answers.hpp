#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "morvex/morvex_guard.h"

namespace morvex::tools {

/// A question that the library could not answer.
class AskFailure : public std::runtime_error {
 public:
  AskFailure(mxg_code code, const std::string& reason) : std::runtime_error(reason), code_(code) {}
  [[nodiscard]] mxg_code code() const noexcept { return code_; }

 private:
  mxg_code code_;
};

/// An array that can't be read.
class ReadFailure : public AskFailure {
 public:
  ReadFailure(mxg_code code, std::string path, const std::string& reason)
      : AskFailure(code, reason), path_(std::move(path)) {}
  /// Of the dataset, as the file names it.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }

 private:
  std::string path_;
};

/// Throws the thread's last error where the code is not MXG_OK: a ReadFailure where it is about a
/// dataset, else an AskFailure.
void require(mxg_code code);

/// The whole answer to an array question, which is asked for its count first. `ask` gets a buffer,
/// its capacity and the address of the count.
template <class T, class Ask>
[[nodiscard]] std::vector<T> answerOf(const Ask& ask) {
  std::uint64_t count = 0;
  require(ask(static_cast<T*>(nullptr), std::uint64_t{0}, &count));
  std::vector<T> values(static_cast<std::size_t>(count));
  if (count != 0) require(ask(values.data(), count, &count));
  return values;
}

/// The same for a text.
template <class Ask>
[[nodiscard]] std::string textOf(const Ask& ask) {
  return answerOf<char>(ask).data();
}

}  // namespace morvex::tools

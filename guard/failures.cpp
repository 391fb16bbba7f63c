#include "failures.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>
#include <typeinfo>

// Exceptions of the library that are none of the standard ones, as a host sees them: caught by
// their names, never made here.

namespace Kelbor {

class Exception : public std::exception {};
class KelborDataException : public Exception {};
class MemoryAllocationException : public Exception {};
class TypeMismatchException : public Exception {};

}  // namespace Kelbor

namespace morvex {

/// Two operations behind the destructor, in this order.
class Exception {
 public:
  virtual ~Exception() = default;
  [[nodiscard]] virtual const char* getMessage() const noexcept = 0;
  [[nodiscard]] virtual const char* getHelp() const noexcept = 0;
};
class UsageException : public Exception {};

}  // namespace morvex

namespace morvex::guard {
namespace {

/// How the library tells that a dataset is not there. It shares std::runtime_error with datasets
/// that are, so that here the text decides.
constexpr std::string_view kNoDataset = "No dataset ";

struct Description {
  mxg_code code;
  const char* text;
};

/// Where nothing but the class is known. Borrows the text from the exception.
Description describe() noexcept {
  try {
    throw;
  } catch (const Refusal& failure) {
    return {failure.code(), failure.what()};
  } catch (const std::bad_alloc&) {
    return {MXG_OUT_OF_MEMORY, "not enough memory"};
  } catch (const Kelbor::MemoryAllocationException& failure) {
    return {MXG_OUT_OF_MEMORY, failure.what()};
  } catch (const Kelbor::KelborDataException& failure) {
    return {MXG_DAMAGED_DATA, failure.what()};
  } catch (const Kelbor::TypeMismatchException& failure) {
    return {MXG_DAMAGED_DATA, failure.what()};
  } catch (const Kelbor::Exception& failure) {
    // Of what fails in a team of threads the library keeps no more than that it did.
    return {MXG_NOT_DECODED, failure.what()};
  } catch (const UsageException& failure) {
    return {MXG_AMBIGUOUS, failure.getMessage()};
  } catch (const Exception& failure) {
    return {MXG_DAMAGED_RECORD, failure.getMessage()};
  } catch (const std::length_error& failure) {
    return {MXG_TOO_LARGE, failure.what()};
  } catch (const std::runtime_error& failure) {
    const bool isMissing = std::string_view(failure.what()).starts_with(kNoDataset);
    return {isMissing ? MXG_NO_SUCH_DATA : MXG_NOT_DECODED, failure.what()};
  } catch (const std::out_of_range& failure) {
    // The caller's numbers have been checked: one that leads nowhere now stands in the file.
    return {MXG_DAMAGED_RECORD, failure.what()};
  } catch (const std::invalid_argument& failure) {
    return {MXG_DAMAGED_RECORD, failure.what()};
  } catch (const std::logic_error& failure) {
    return {MXG_WRONG_KIND, failure.what()};
  } catch (const std::exception& failure) {
    return {MXG_DAMAGED_RECORD, failure.what()};
  } catch (...) {
    const std::type_info* type = abi::__cxa_current_exception_type();
    return {MXG_UNKNOWN, type ? type->name() : "unknown failure"};
  }
}

}  // namespace

void refuse(mxg_code code, const std::string& text) {
  throw Refusal(code, text);
}

mxg_code codeOfFailure() noexcept {
  return describe().code;
}

void describeFailure(mxg_error& error) noexcept {
  const auto [code, text] = describe();
  error.code = code;
  if (code == MXG_NO_SUCH_DATA && std::string_view(text).starts_with(kNoDataset)) {
    copyLine(text + kNoDataset.size(), error.dataset);
    copyLine("no such dataset", error.text);
  } else {
    copyLine(text, error.text);
  }
}

void copyLine(const char* line, char (&field)[MXG_TEXT_SIZE]) noexcept {
  const std::size_t length = std::min(std::strcspn(line, "\n"), std::size_t{MXG_TEXT_SIZE - 1});
  std::memcpy(field, line, length);
  field[length] = '\0';
}

}  // namespace morvex::guard

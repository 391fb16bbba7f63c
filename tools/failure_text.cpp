#include "failure_text.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <typeinfo>

namespace morvex {

// Failures of the library that are no std::exception, as a host sees them: two operations behind
// the destructor, in this order. Caught by its name, never made here.
class Exception {
 public:
  virtual ~Exception() = default;
  [[nodiscard]] virtual const char* getMessage() const noexcept = 0;
  [[nodiscard]] virtual const char* getHelp() const noexcept = 0;
};

}  // namespace morvex

namespace morvex::tools {
namespace {

std::string classOfFailure() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (!type) return "no failure";
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
  return status == 0 ? name.get() : type->name();
}

std::string firstLine(std::string text) {
  text.erase(std::find(text.begin(), text.end(), '\n'), text.end());
  return text;
}

}  // namespace

std::string failureText() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return "not enough memory";
  } catch (const std::exception& failure) {
    return firstLine(failure.what());
  } catch (const Exception& failure) {
    return firstLine(failure.getMessage());
  } catch (...) {
    return classOfFailure();
  }
}

}  // namespace morvex::tools

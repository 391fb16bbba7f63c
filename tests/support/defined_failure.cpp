#include "support/defined_failure.hpp"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <exception>
#include <stdexcept>
#include <typeinfo>

#include "metadata/exception.hpp"

namespace morvex {
namespace {

/// Exactly one of these classes: nothing raises a subclass.
template <class... Classes>
bool isExactly(const std::type_info& type) {
  return ((type == typeid(Classes)) || ...);
}

template <class Base, class... Classes>
std::string judge(const Base& failure) {
  const std::type_info& type = typeid(failure);
  return isExactly<Classes...>(type) ? "" : type.name();
}

}  // namespace

std::string undefinedFailure() {
  try {
    throw;
  } catch (const Exception& failure) {
    return judge<Exception, InternalError, UsageException>(failure);
  } catch (const boost::bad_lexical_cast&) {
    return {};
  } catch (const std::exception& failure) {
    return judge<std::exception, Kelbor::Exception, Kelbor::KelborDataException,
                 Kelbor::TypeMismatchException, std::runtime_error, std::logic_error,
                 std::out_of_range, std::length_error, std::invalid_argument>(failure);
  } catch (...) {
    return "no exception class";
  }
}

}  // namespace morvex

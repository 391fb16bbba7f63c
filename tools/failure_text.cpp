#include "failure_text.hpp"

#include <algorithm>
#include <exception>
#include <new>

namespace morvex::tools {
namespace {

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
  } catch (...) {
    return "unknown failure";
  }
}

}  // namespace morvex::tools

#include "core/error.hpp"

#include <cstdlib>
#include <utility>

namespace Kelbor {

Exception::Exception(std::string typeName, std::string message, std::string file, int line,
                     std::string function, const std::exception* cause)
    : typeName_(std::move(typeName)),
      message_(std::move(message)),
      file_(std::move(file)),
      line_(line),
      function_(std::move(function)),
      cause_(cause) {
  getLogger().error() << typeName_ << ": " << message_ << " @" << file_ << ":" << line_ << "["
                      << function_ << "]";
}

const char* Exception::what() const noexcept {
  try {
    if (whatText_.empty()) {
      std::string text = typeName_ + ": " + message_ + " @" + file_ + ":" + std::to_string(line_) +
                         "[" + function_ + "]";
      if (cause_) text += std::string("\nCaused by: ") + cause_->what();
      whatText_ = std::move(text);
    }
    return whatText_.c_str();
  } catch (...) {  // out of memory: return the bare message
    return message_.c_str();
  }
}

void abortProcess(const char* message) {
  getLogger().fatal() << message;
  std::abort();
}

}  // namespace Kelbor

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
  } catch (...) {  // out of memory: the bare message is better than none
    return message_.c_str();
  }
}

void abortProcess(const char* message) {
  getLogger().fatal() << message;
  std::abort();
}

}  // namespace Kelbor

namespace morvex {

Exception::~Exception() = default;

const char* Exception::getMessage() const noexcept {
  return message_.c_str();
}

const char* UsageException::getHelp() const noexcept {
  return "An usage error occurred (error code: 3)! Run 'morvex -h' to get more information on how "
         "to run MORVEX in the correct way. Also read given error messages in the console you are "
         "running MORVEX. Or run MORVEX with '-lf LOGFILENAME'.";
}

const char* InternalError::getHelp() const noexcept {
  return "An internal error occurred. Please contact the support team of MORVEX! Also read given "
         "error messages in the console you are running MORVEX. Or run MORVEX with '-lf "
         "LOGFILENAME'.";
}

}  // namespace morvex

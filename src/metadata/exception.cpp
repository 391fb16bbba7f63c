#include "metadata/exception.hpp"

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

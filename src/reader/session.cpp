#include "reader/session.hpp"

#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "core/error.hpp"
#include "platform/system_info.hpp"
#include "reader/result_reader.hpp"

namespace morvex {

using Kelbor::getLogger;

namespace {

constexpr const char* kWorkflowLogVariable = "MORVEX_WORKFLOW_LOG";

/// What the exception in flight says, in one line.
std::string reasonOfFailure() {
  std::string reason = "unknown failure";
  try {
    throw;
  } catch (const Kelbor::Exception& failure) {
    reason = failure.message();
  } catch (const std::exception& failure) {
    reason = failure.what();
  } catch (const Exception& failure) {
    reason = failure.getMessage();
  } catch (...) {  // nothing below throws anything else
  }
  return reason;
}

// Before anything can ask for it, so that the environment is read when the library is loaded.
[[maybe_unused]] const Session& madeAtLoad = session();

}  // namespace

Session::Session() : log_(std::getenv(kWorkflowLogVariable)) {}

int Session::open(const char* path, std::uint64_t hostValue) {
  const std::string name = path ? path : "";
  try {
    const std::uint64_t totalPhysicalMemory = Kelbor::Platform::totalPhysicalMemory();
    if (reader_) {
      getLogger().warning() << "MX_openFile called without closing existing reader!" << std::endl;
      end();
    }
    if (!path) throw std::invalid_argument("no path");
    reader_ = std::make_unique<EnsgMXReader>(name, hostValue, totalPhysicalMemory);
    log_.begin(path);
    return 0;
  } catch (...) {
    reader_.reset();
    getLogger().fatal() << "MX_openFile: the type of file '" << name << "' is unknown or invalid ("
                        << reasonOfFailure() << ")" << std::endl;
    return -1;
  }
}

bool Session::close() {
  if (!reader_) {
    logNoSession("MX_exit");
    return false;
  }
  end();
  return true;
}

void Session::end() {
  reader_->close();
  reader_.reset();
  log_.end();
}

Session& session() {
  static Session theSession;
  return theSession;
}

void logNoSession(const char* exportName) {
  getLogger().error() << exportName << ": no file is open" << std::endl;
}

}  // namespace morvex

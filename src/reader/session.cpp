#include "reader/session.hpp"

#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "core/error.hpp"
#include "platform/system_info.hpp"
#include "reader/result_reader.hpp"

namespace morvex {

using Kelbor::getLogger;

namespace {

constexpr const char* kWorkflowLogVariable = "MORVEX_WORKFLOW_LOG";

/// Leaves the one line of an open that failed, with what the exception in flight says. Memory may
/// have run out: takes none.
void logRefusedFile(const char* path) noexcept {
  const auto log = [path](const char* reason) {
    getLogger().fatal() << "MX_openFile: the type of file '" << path << "' is unknown or invalid ("
                        << reason << ")";
  };
  try {
    throw;
  } catch (const Kelbor::Exception& failure) {
    log(failure.message().c_str());
  } catch (const std::exception& failure) {
    log(failure.what());
  } catch (const Exception& failure) {
    log(failure.getMessage());
  } catch (...) {  // nothing below throws anything else
    log("unknown failure");
  }
}

// Before anything can ask for it, so that the environment is read when the library is loaded.
[[maybe_unused]] const Session& madeAtLoad = session();

}  // namespace

Session::Session() : log_(std::getenv(kWorkflowLogVariable)) {}

int Session::open(const char* path, std::uint64_t hostValue) {
  try {
    const std::uint64_t totalPhysicalMemory = Kelbor::Platform::totalPhysicalMemory();
    if (reader_) {
      getLogger().warning() << "MX_openFile called without closing existing reader!";
      end();
    }
    if (!path) throw std::invalid_argument("no path");
    reader_ = std::make_unique<EnsgMXReader>(path, hostValue, totalPhysicalMemory);
    log_.begin(path);
    return 0;
  } catch (...) {
    reader_.reset();
    logRefusedFile(path ? path : "");
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
  getLogger().error() << exportName << ": no file is open";
}

}  // namespace morvex

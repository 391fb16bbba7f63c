#include "reader/ensg/session.hpp"

#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "metadata/exception.hpp"
#include "platform/system_info.hpp"
#include "reader/result_reader.hpp"

namespace morvex {

using Kelbor::getLogger;

namespace {

constexpr const char* kWorkflowLogVariable = "MORVEX_WORKFLOW_LOG";

/// Logs the one line of a failed open, with the text of the exception in flight. Allocates nothing,
/// since memory may have run out.
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
  } catch (...) {  // the layers below throw nothing else
    log("unknown failure");
  }
}

// Made before any export is called, so that the environment is read when the library is loaded.
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
    if (!path) Kelbor::raiseUnlogged<std::invalid_argument>("no path");
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
  if (!readerFor("MX_exit")) return false;
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

GenericMXReader* readerFor(const char* exportName) {
  GenericMXReader* reader = session().reader();
  if (!reader) getLogger().error() << exportName << ": no file is open";
  return reader;
}

}  // namespace morvex

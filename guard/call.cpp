#include "call.hpp"

#include <mutex>

namespace morvex::guard {
namespace {

// Of constant size: what a thread is told about a failure takes no memory at that time.
thread_local constinit mxg_error lastError{};
thread_local constinit bool hasSession = false;

constinit std::mutex sessionLock;

/// Never destroyed, so that it may be used while the process ends.
Session& theSession() {
  static Session& session = *new Session;
  return session;
}

}  // namespace

mxg_error& beginCall(const Place& place) noexcept {
  lastError.code = MXG_OK;
  lastError.step = place.step;
  lastError.part = place.part;
  lastError.dataset[0] = '\0';
  lastError.text[0] = '\0';
  return lastError;
}

bool isInCall() noexcept {
  return hasSession;
}

SessionAccess::SessionAccess() : session_(theSession()) {
  sessionLock.lock();
  hasSession = true;
}

SessionAccess::~SessionAccess() {
  hasSession = false;
  sessionLock.unlock();
}

}  // namespace morvex::guard

const mxg_error* mxg_last_error(void) {
  return &morvex::guard::lastError;
}

#pragma once

#include <cstdint>
#include <string>

#include "reader/api/failure.hpp"
#include "reader/api/file.hpp"

namespace morvex::Api {

/// Runs the body of a C function. Turns any exception into the thread's last failure.
template <class Body>
morvex_code guarded(const Body& body) noexcept {
  try {
    body();
    return settleSuccess();
  } catch (...) {
    try {
      return settle(failureInFlight());
    } catch (...) {  // no memory for the text
      return settle({.code = MORVEX_OUT_OF_MEMORY});
    }
  }
}

/// The same for a question about a file, which the body receives.
template <class Body>
morvex_code onFile(morvex_file* handle, const Body& body) noexcept {
  return guarded([&] {
    FileCall call(handle);
    const CallMessages messages(call.file().messages());
    const WorkFor work(call.file());
    body(call.file());
  });
}

/// Refuses NULL.
inline void require(const void* pointer, const char* name) {
  if (!pointer) throw Refusal(MORVEX_BAD_ARGUMENT, std::string(name) + " is NULL");
}

/// Refuses NULL and a struct of another size than this release's.
template <class T>
void requireStruct(const T* value, const char* name) {
  require(value, name);
  if (value->size != sizeof(T)) {
    throw Refusal(MORVEX_BAD_ARGUMENT, std::string(name) + " has an unknown size of " +
                                           std::to_string(value->size) + " bytes");
  }
}

}  // namespace morvex::Api

#include "reader/api/failure.hpp"

#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

#include "metadata/exception.hpp"

namespace morvex::Api {
namespace {

/// The last failure of a thread, in the form of the C interface.
struct LastFailure {
  Failure failure;
  morvex_error shown{MORVEX_OK, -1, -1, "", ""};
};

LastFailure& threadFailure() noexcept {
  thread_local LastFailure last;
  return last;
}

Failure of(morvex_code code, const char* text) {
  return {.code = code, .text = text};
}

}  // namespace

Failure failureInFlight() {
  try {
    throw;
  } catch (const Refusal& refusal) {
    return refusal.failure();
  } catch (const std::bad_alloc&) {
    return of(MORVEX_OUT_OF_MEMORY, "not enough memory");
  } catch (const Kelbor::MemoryAllocationException&) {
    return of(MORVEX_OUT_OF_MEMORY, "not enough memory");
  } catch (const Kelbor::Exception& failure) {
    return of(MORVEX_DAMAGED, failure.message().c_str());
  } catch (const UsageException& failure) {
    return of(MORVEX_AMBIGUOUS, failure.getMessage());
  } catch (const Exception& failure) {
    return of(MORVEX_DAMAGED, failure.getMessage());
  } catch (const std::length_error& failure) {
    return of(MORVEX_TOO_LARGE, failure.what());
  } catch (const std::exception& failure) {
    // The caller's numbers have been checked before: the invalid number is the file's.
    return of(MORVEX_DAMAGED, failure.what());
  } catch (...) {
    return of(MORVEX_INTERNAL, "unknown failure");
  }
}

morvex_error shown(const Failure& failure) noexcept {
  return {failure.code, failure.step, failure.part, failure.path.c_str(), failure.text.c_str()};
}

morvex_code settle(Failure failure) noexcept {
  LastFailure& last = threadFailure();
  last.failure = std::move(failure);
  last.shown = shown(last.failure);
  return last.failure.code;
}

morvex_code settleSuccess() noexcept {
  LastFailure& last = threadFailure();
  if (last.shown.code != MORVEX_OK) {
    last.failure = {};
    last.shown = shown(last.failure);
  }
  return MORVEX_OK;
}

const morvex_error* lastFailure() noexcept {
  return &threadFailure().shown;
}

}  // namespace morvex::Api

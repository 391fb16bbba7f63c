#pragma once

#include "failures.hpp"
#include "session.hpp"

namespace morvex::guard {

/// What a call is about, for the error that it may end with.
struct Place {
  std::int32_t step = -1;
  std::int32_t part = -1;
};

/// What a question works on while its call lasts.
struct Call {
  Session& session;
  mxg_error& error;  ///< of the thread
};

/// Clears the thread's last error. The first call of a thread brings its memory into being, so that
/// it is there when memory runs out later.
mxg_error& beginCall(const Place& place) noexcept;

/// Whether this thread is in a call already: it asks from within a progress function.
[[nodiscard]] bool isInCall() noexcept;

/// The one session, for as long as a call takes; other threads wait.
class SessionAccess {
 public:
  SessionAccess();
  ~SessionAccess();
  SessionAccess(const SessionAccess&) = delete;
  SessionAccess& operator=(const SessionAccess&) = delete;

  [[nodiscard]] Session& session() const noexcept { return session_; }

 private:
  Session& session_;
};

/// Runs a question, `void(Call&)`, and turns whatever it throws into a code and the thread's last
/// error. A call within a call leaves the error to the outer one.
template <class Question>
mxg_code answerAlways(const Place& place, const Question& question) noexcept {
  if (isInCall()) return MXG_BUSY;
  mxg_error& error = beginCall(place);
  try {
    const SessionAccess access;
    Call call{access.session(), error};
    question(call);
    return beginCall({}).code;  // nothing was wrong with what it was about
  } catch (...) {
    describeFailure(error);
    return error.code;
  }
}

/// The same for questions about the open file, `void(Call&, Facts&)`.
template <class Question>
mxg_code answer(const Place& place, const Question& question) noexcept {
  return answerAlways(place, [&](Call& call) {
    if (!call.session.facts) refuse(MXG_NO_SESSION, "no file is open");
    question(call, *call.session.facts);
  });
}

}  // namespace morvex::guard

#pragma once

#include <cstdint>
#include <memory>

#include "core/log.hpp"
#include "reader/reader.hpp"
#include "reader/workflow_log.hpp"

namespace morvex {

/// The process's one session: the open reader, if there is one, and the record of its calls. Which
/// exports catch, and what they answer without a session, is decided here and in onReader alone.
class Session {
 public:
  Session();

  /// Ends an open session, then opens a file: 0, or -1 after one FATAL line. Catches everything.
  int open(const char* path, std::uint64_t hostValue);
  /// Ends the session; false, with an ERROR, if there is none.
  bool close();

  /// The open reader, borrowed; null without a session.
  [[nodiscard]] GenericMXReader* reader() const noexcept { return reader_.get(); }
  [[nodiscard]] WorkflowLog& log() noexcept { return log_; }

  /// The last number of threads that a host has set; what reads use is in the platform.
  int numberOfOmpThreads = 1;

 private:
  void end();

  WorkflowLog log_;
  std::unique_ptr<GenericMXReader> reader_;
};

/// Made when the library is loaded. At the end of the process it frees a reader that was left open.
Session& session();

/// Leaves the one line that a question without a session costs.
void logNoSession(const char* exportName);

/// Asks the open reader; `refusal` is the answer without one. Exceptions go to the host.
template <class Answer, class Question>
Answer onReader(const char* exportName, Answer refusal, Question&& question) {
  GenericMXReader* reader = session().reader();
  if (!reader) {
    logNoSession(exportName);
    return refusal;
  }
  return question(*reader);
}

}  // namespace morvex

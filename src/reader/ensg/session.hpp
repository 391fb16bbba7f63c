#pragma once

#include <cstdint>
#include <memory>

#include "core/log.hpp"
#include "reader/ensg/workflow_log.hpp"
#include "reader/reader.hpp"

namespace morvex {

/// The process's only session: the open reader, if any, and the record of its calls. This class and
/// ask() decide which exports catch exceptions and what they return without a session.
class Session {
 public:
  Session();

  /// Closes an open session, then opens a file. Returns 0, or -1 after one FATAL line. Catches
  /// everything.
  int open(const char* path, std::uint64_t hostValue);
  /// Closes the session; false, after an ERROR, if there is none.
  bool close();

  /// The open reader, borrowed; null without a session.
  [[nodiscard]] GenericMXReader* reader() const noexcept { return reader_.get(); }
  [[nodiscard]] WorkflowLog& log() noexcept { return log_; }

  /// The number of threads last set by a host, as it reads it back; reads use the platform's
  /// setting.
  int numberOfOmpThreads = 1;

 private:
  void end();

  WorkflowLog log_;
  std::unique_ptr<GenericMXReader> reader_;
};

/// Made when the library is loaded. Frees an open reader when the process exits.
Session& session();

/// The reader for an export's question, borrowed. Null without a session, after one log line.
[[nodiscard]] GenericMXReader* readerFor(const char* exportName);

/// Asks the open reader; returns `refusal` without one. Exceptions reach the host.
template <class... Parameters, class... Arguments>
int ask(const char* exportName, int refusal, int (GenericMXReader::*question)(Parameters...),
        Arguments... arguments) {
  GenericMXReader* reader = readerFor(exportName);
  return reader ? (reader->*question)(arguments...) : refusal;
}

}  // namespace morvex

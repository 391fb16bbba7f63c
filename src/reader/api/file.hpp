#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "morvex/morvex.h"
#include "reader/api/case.hpp"
#include "reader/api/failure.hpp"
#include "reader/api/instance.hpp"
#include "reader/api/messages.hpp"

namespace morvex::Api {

/// The object of a handle: an open file, used by any number of threads.
class File {
 public:
  /// Opens the file. Throws Refusal with the reason.
  File(const std::string& path, const morvex_open_options& options);
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  [[nodiscard]] const Case& contents() const noexcept { return *contents_; }
  [[nodiscard]] InstancePool& instances() noexcept { return *instances_; }
  [[nodiscard]] const MessageTarget& messages() const noexcept { return messages_; }
  /// Most threads for a read.
  [[nodiscard]] int threads() const noexcept { return threads_; }

 private:
  std::string path_;
  MessageTarget messages_;
  int threads_;
  std::unique_ptr<InstancePool> instances_;
  std::unique_ptr<Case> contents_;
};

/// A call on a file, which is not closed while the object lives. The thread's log lines become
/// messages of the file.
class FileCall {
 public:
  /// Refusal MORVEX_BAD_HANDLE for a handle that is not open.
  explicit FileCall(morvex_file* handle);
  ~FileCall();
  FileCall(const FileCall&) = delete;
  FileCall& operator=(const FileCall&) = delete;

  [[nodiscard]] File& file() noexcept { return *file_; }

 private:
  struct Entry;
  friend struct OpenFiles;

  std::shared_ptr<Entry> entry_;
  File* file_;
};

/// Marks the thread as executing a call on the file during its lifetime, so that callbacks are
/// recognised.
class WorkFor {
 public:
  explicit WorkFor(const File& file) noexcept;
  ~WorkFor();
  WorkFor(const WorkFor&) = delete;
  WorkFor& operator=(const WorkFor&) = delete;

 private:
  const File* before_;
};

/// Registers an open file and returns its handle.
[[nodiscard]] morvex_file* addHandle(std::unique_ptr<File> file);
/// Revokes the handle, waits for calls in progress, and closes the file. Refusal for a handle that
/// is not open and from within a callback of the same file.
void removeHandle(morvex_file* handle);

}  // namespace morvex::Api

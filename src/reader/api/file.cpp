#include "reader/api/file.hpp"

#include <algorithm>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

#include "metadata/exception.hpp"
#include "platform/file_stream.hpp"
#include "platform/immortal.hpp"
#include "platform/system_info.hpp"

namespace morvex::Api {
namespace {

/// The file whose call this thread executes, borrowed; null outside of calls.
thread_local constinit const File* workedFor = nullptr;

/// Why a file that opens is no result file.
std::string reasonOf(const Failure& failure, const CallMessages& messages) {
  const std::string line = messages.firstError();
  if (failure.text == "Failed to open file") {
    return line.empty() || line == failure.text ? "The file is not a result file or is truncated"
                                                : line;
  }
  return failure.text;
}

}  // namespace

File::File(const std::string& path, const morvex_open_options& options)
    : path_(path),
      messages_{options.message, options.user},
      threads_(options.threads > 0 ? options.threads : Kelbor::Platform::processorCount()) {
  const std::string refused = Kelbor::Platform::reasonNotToRead(path);
  if (!refused.empty()) throw Refusal(MORVEX_CANNOT_OPEN, refused);
  Kelbor::getLogger().setLogLevel(Kelbor::LogLevel::kWarning);
  CallMessages messages(messages_);
  try {
    instances_ = std::make_unique<InstancePool>(path, static_cast<std::size_t>(threads_));
    contents_ = std::make_unique<Case>(instances_->metadata());
  } catch (const UsageException& failure) {
    throw Refusal(MORVEX_NEWER_FILE, failure.getMessage());
  } catch (...) {
    Failure failure = failureInFlight();
    if (failure.code == MORVEX_OUT_OF_MEMORY) throw Refusal(std::move(failure));
    throw Refusal(MORVEX_NOT_A_RESULT, reasonOf(failure, messages));
  }
}

/// An open file and the number of calls on it.
struct FileCall::Entry {
  explicit Entry(std::unique_ptr<File> opened) : file(std::move(opened)) {}

  void enter() {
    const std::lock_guard guard(lock);
    ++calls;
  }
  void leave() {
    const std::lock_guard guard(lock);
    if (--calls == 0) idle.notify_all();
  }
  void waitUntilIdle() {
    std::unique_lock guard(lock);
    idle.wait(guard, [this] { return calls == 0; });
  }

  std::unique_ptr<File> file;
  std::mutex lock;
  std::condition_variable idle;
  std::uint64_t calls = 0;
};

/// All open files of the process. Handles are looked up, never dereferenced, so a closed or invalid
/// one does no harm.
struct OpenFiles {
  std::shared_mutex lock;
  std::unordered_map<const void*, std::shared_ptr<FileCall::Entry>> entries;

  /// Null for a handle that is not open; otherwise the call is already counted.
  std::shared_ptr<FileCall::Entry> enter(morvex_file* handle) {
    const std::shared_lock guard(lock);
    const auto found = entries.find(handle);
    if (found == entries.end()) return nullptr;
    found->second->enter();  // under the lock, so that remove() waits for this call
    return found->second;
  }

  morvex_file* add(std::unique_ptr<File> file) {
    auto entry = std::make_shared<FileCall::Entry>(std::move(file));
    void* const handle = entry.get();
    const std::unique_lock guard(lock);
    entries.emplace(handle, std::move(entry));
    return static_cast<morvex_file*>(handle);
  }

  void remove(morvex_file* handle) {
    std::shared_ptr<FileCall::Entry> entry;
    {
      const std::unique_lock guard(lock);
      const auto found = entries.find(handle);
      if (found == entries.end()) throw Refusal(MORVEX_BAD_HANDLE, "the file is not open");
      if (workedFor == found->second->file.get()) {
        throw Refusal(MORVEX_BAD_ARGUMENT, "a file can't be closed from its own callback");
      }
      entry = std::move(found->second);
      entries.erase(found);
    }
    // Outside of the lock: calls on other files continue, and so do those in progress on this one.
    entry->waitUntilIdle();
  }
};

namespace {

/// Never destroyed: threads may close files while the process exits.
OpenFiles& openFiles() {
  static Kelbor::Platform::Immortal<OpenFiles> files;
  return files.get();
}

}  // namespace

FileCall::FileCall(morvex_file* handle) : entry_(openFiles().enter(handle)) {
  if (!entry_) throw Refusal(MORVEX_BAD_HANDLE, "the file is not open");
  file_ = entry_->file.get();
}

FileCall::~FileCall() {
  entry_->leave();
}

WorkFor::WorkFor(const File& file) noexcept : before_(std::exchange(workedFor, &file)) {}

WorkFor::~WorkFor() {
  workedFor = before_;
}

morvex_file* addHandle(std::unique_ptr<File> file) {
  return openFiles().add(std::move(file));
}

void removeHandle(morvex_file* handle) {
  openFiles().remove(handle);
}

}  // namespace morvex::Api

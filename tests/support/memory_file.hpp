#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>

namespace morvex {

/// A file in memory, which the library opens by its path like any other, without waiting for a
/// disk.
class MemoryFile {
 public:
  MemoryFile() : descriptor_(::memfd_create("morvex", MFD_CLOEXEC)) {
    if (descriptor_ < 0) std::abort();
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// Replaces the content.
  void set(std::span<const std::byte> bytes) const {
    const auto size = static_cast<::ssize_t>(bytes.size());
    const bool done = ::ftruncate(descriptor_, 0) == 0 &&
                      ::pwrite(descriptor_, bytes.data(), bytes.size(), 0) == size;
    if (!done) std::abort();
  }
  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace morvex

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace Kelbor::Platform {

/// Says which file a stream reads: the same path may name another one later.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  std::uint64_t size = 0;
  std::int64_t changedSeconds = 0;
  std::int64_t changedNanoseconds = 0;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// Why a regular file can't be read, in the system's words where it has some; empty if it can be.
[[nodiscard]] std::string reasonNotToRead(const std::string& path);

/// Owns a C stream with 64-bit positions and closes it. Closed when default-constructed.
class FileStream {
 public:
  FileStream() = default;

  /// Opens `path` in a mode of the C library. Refuses directories, which the C library opens for
  /// reading and fails to read only later, and what has no positions: a named pipe would block. After
  /// a refusal errno has the reason.
  [[nodiscard]] static FileStream open(const std::string& path, const char* mode);

  [[nodiscard]] bool isOpen() const noexcept { return stream_ != nullptr; }

  /// Moves to an absolute byte position; false beyond what the system can address.
  bool seek(std::uint64_t position);
  /// All zeros on failure.
  [[nodiscard]] FileIdentity identity() const noexcept;
  /// Size of the file in bytes; moves the position. 0 on failure.
  [[nodiscard]] std::uint64_t size();

  /// Reads up to `target.size()` bytes; returns their number.
  std::size_t read(std::span<std::byte> target);
  /// Reads up to `target.size()` bytes from an absolute position and returns their number. The
  /// stream's own position stays.
  std::size_t readAt(std::uint64_t position, std::span<std::byte> target);
  /// Writes all of `source`; false if the system wrote less.
  bool write(std::span<const std::byte> source);

  /// True if everything reached the file, and for a stream that is not open.
  bool close();

 private:
  struct Closer {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
  };

  std::unique_ptr<std::FILE, Closer> stream_;
};

}  // namespace Kelbor::Platform

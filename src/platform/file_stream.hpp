#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace Kelbor::Platform {

/// A C stream with 64-bit positions that closes itself. Closed when default-constructed.
class FileStream {
 public:
  FileStream() = default;

  /// Opens `path` in a mode of the C library. Directories are refused: the C library opens them
  /// for reading and fails only later.
  [[nodiscard]] static FileStream open(const std::string& path, const char* mode);

  [[nodiscard]] bool isOpen() const noexcept { return stream_ != nullptr; }

  /// Moves to an absolute byte position. False beyond what the system can address.
  bool seek(std::uint64_t position);
  /// Size of the file in bytes; moves the position. 0 on failure.
  [[nodiscard]] std::uint64_t size();

  /// Reads up to `target.size()` bytes and returns how many came.
  std::size_t read(std::span<std::byte> target);
  /// Reads up to `target.size()` bytes from an absolute position, which the stream's own position
  /// doesn't follow, and returns how many came.
  std::size_t readAt(std::uint64_t position, std::span<std::byte> target);
  /// Writes all of `source`; false if the system took less.
  bool write(std::span<const std::byte> source);

  /// True when everything reached the file. A stream that is not open closes well.
  bool close();

 private:
  struct Closer {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
  };

  std::unique_ptr<std::FILE, Closer> stream_;
};

}  // namespace Kelbor::Platform

#include "platform/file_stream.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>

namespace Kelbor::Platform {

static_assert(sizeof(off_t) == 8, "files beyond 2 GiB need 64-bit positions");

namespace {

bool isReadableKind(mode_t mode) noexcept {
  return S_ISREG(mode) || S_ISBLK(mode);
}

}  // namespace

std::string reasonNotToRead(const std::string& path) {
  const auto systemText = [] { return std::generic_category().message(errno); };
  // Without waiting: a named pipe blocks until somebody writes to it.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0 && (errno == EMFILE || errno == ENFILE)) return {};  // no fault of the file
  if (descriptor < 0) return systemText();
  struct stat status {};
  const bool isKnown = ::fstat(descriptor, &status) == 0;
  std::string unknown = isKnown ? std::string() : systemText();
  ::close(descriptor);
  if (!isKnown) return unknown;
  if (S_ISDIR(status.st_mode)) return std::generic_category().message(EISDIR);
  if (!isReadableKind(status.st_mode)) return "Not a regular file";
  if (S_ISREG(status.st_mode) && status.st_size == 0) return "The file is empty";
  return {};
}

FileStream FileStream::open(const std::string& path, const char* mode) {
  FileStream result;
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && !isReadableKind(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    return result;
  }
  result.stream_.reset(std::fopen(path.c_str(), mode));
  // Reads and writes are whole blocks: a buffer in between would only add a copy.
  if (result.stream_) std::setvbuf(result.stream_.get(), nullptr, _IONBF, 0);
  return result;
}

FileIdentity FileStream::identity() const noexcept {
  struct stat status {};
  if (!stream_ || ::fstat(::fileno(stream_.get()), &status) != 0) return {};
  return {.device = static_cast<std::uint64_t>(status.st_dev),
          .number = static_cast<std::uint64_t>(status.st_ino),
          .size = static_cast<std::uint64_t>(status.st_size),
          .changedSeconds = status.st_mtim.tv_sec,
          .changedNanoseconds = status.st_mtim.tv_nsec};
}

bool FileStream::seek(std::uint64_t position) {
  if (position > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return false;
  return ::fseeko(stream_.get(), static_cast<off_t>(position), SEEK_SET) == 0;
}

std::uint64_t FileStream::size() {
  if (::fseeko(stream_.get(), 0, SEEK_END) != 0) return 0;
  const off_t end = ::ftello(stream_.get());
  return end < 0 ? 0 : static_cast<std::uint64_t>(end);
}

std::size_t FileStream::read(std::span<std::byte> target) {
  if (target.empty()) return 0;
  return std::fread(target.data(), 1, target.size(), stream_.get());
}

std::size_t FileStream::readAt(std::uint64_t position, std::span<std::byte> target) {
  const auto largest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
  std::size_t done = 0;
  while (done < target.size() && position <= largest - done) {
    const ssize_t came = ::pread(::fileno(stream_.get()), target.data() + done,
                                 target.size() - done, static_cast<off_t>(position + done));
    if (came < 0 && errno == EINTR) continue;
    if (came <= 0) break;
    done += static_cast<std::size_t>(came);
  }
  return done;
}

bool FileStream::write(std::span<const std::byte> source) {
  if (source.empty()) return true;
  return std::fwrite(source.data(), 1, source.size(), stream_.get()) == source.size();
}

bool FileStream::close() {
  std::FILE* stream = stream_.release();
  return stream == nullptr || std::fclose(stream) == 0;
}

}  // namespace Kelbor::Platform

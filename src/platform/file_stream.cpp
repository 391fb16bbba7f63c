#include "platform/file_stream.hpp"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

namespace Kelbor::Platform {

static_assert(sizeof(off_t) == 8, "files beyond 2 GiB need 64-bit positions");

FileStream FileStream::open(const std::string& path, const char* mode) {
  FileStream result;
  result.stream_.reset(std::fopen(path.c_str(), mode));
  if (result.stream_) {
    struct stat status {};
    if (::fstat(::fileno(result.stream_.get()), &status) != 0 || S_ISDIR(status.st_mode)) {
      result.stream_.reset();
    } else {
      // Whole blocks are read and written: a buffer in between only costs a copy.
      std::setvbuf(result.stream_.get(), nullptr, _IONBF, 0);
    }
  }
  return result;
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

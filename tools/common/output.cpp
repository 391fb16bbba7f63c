#include "common/output.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/exit_codes.hpp"

namespace morvex::tools {
namespace {

[[noreturn]] void failOutput() {
  throw Failure(kOutputFailed, std::string("standard output: ") + std::strerror(errno));
}

}  // namespace

void keepStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free number is this one. Standard output refuses to be written, instead of some file
    // that would get its number.
    (void)::open("/dev/null", descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY);
  }
}

void put(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) failOutput();
}

void finishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) failOutput();
  // Some file systems report a full disk when the file is closed.
  const int copy = ::dup(STDOUT_FILENO);
  if (copy < 0 || ::close(copy) != 0) failOutput();
}

std::size_t terminalWidth() {
  if (::isatty(STDOUT_FILENO) != 1) return 0;
  winsize size{};
  constexpr std::size_t kUsual = 80;
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

// One call of fwrite: lines of several processes don't mix.
void complain(std::string_view program, std::string_view text) {
  const std::string line = std::string(program) + ": " + std::string(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

NewFile::NewFile(std::string path, bool mayReplace)
    : path_(std::move(path)), temporary_(path_ + ".XXXXXX"), mayReplace_(mayReplace) {
  struct stat found {};
  if (::lstat(path_.c_str(), &found) == 0) {
    if (!S_ISREG(found.st_mode)) throw Failure(kUsageError, path_ + ": is there and no plain file");
    if (!mayReplace_) {
      throw Failure(kUsageError, path_ + ": is there already; --force replaces it");
    }
  }
  descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
  if (descriptor_ < 0) fail();
}

NewFile::~NewFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void NewFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) fail();
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void NewFile::commit() {
  // Temporary files are private. The finished one gets the rights of any new file; umask can only be
  // read by setting it.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::close(descriptor_);
  // By its name: the writer of the content may have made the file anew.
  descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor_ < 0 || ::fchmod(descriptor_, 0666 & ~mask) != 0 || ::fsync(descriptor_) != 0) {
    fail();
  }
  // A link never replaces what has come there meanwhile; file systems without links rename.
  if (!mayReplace_) {
    if (::link(temporary_.c_str(), path_.c_str()) == 0) return;
    if (errno != EPERM && errno != EOPNOTSUPP) fail();
  }
  if (::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
  temporary_.clear();
}

void NewFile::fail() const {
  const int reason = errno;
  throw Failure(kOutputFailed, path_ + ": " + std::strerror(reason));
}

}  // namespace morvex::tools

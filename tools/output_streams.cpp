#include "output_streams.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace morvex::tools {
namespace {

std::FILE* duplicateOf(int descriptor) {
  const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
  std::FILE* stream = copy < 0 ? nullptr : ::fdopen(copy, "w");
  // A program started without the stream gets one that swallows.
  return stream ? stream : std::fopen("/dev/null", "w");
}

/// Points the descriptor at what `target` leads to.
void redirect(int descriptor, int target) {
  if (::dup2(target, descriptor) < 0) {
    throw std::system_error(errno, std::generic_category(), "Can't redirect messages");
  }
}

}  // namespace

OutputStreams::OutputStreams(const std::string& logFile) {
  int log = -1;
  if (!logFile.empty()) {
    // Appending: both descriptors and whatever the log already says keep their place.
    log = ::open(logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    if (log < 0) {
      throw std::runtime_error("Can't write the message log " + logFile + ": " +
                               std::strerror(errno));
    }
  }
  data_ = duplicateOf(STDOUT_FILENO);
  messages_ = duplicateOf(STDERR_FILENO);
  if (!data_ || !messages_) throw std::runtime_error("Can't keep the standard streams");
  if (log >= 0) {
    redirect(STDERR_FILENO, log);
    ::close(log);
  }
  redirect(STDOUT_FILENO, STDERR_FILENO);
}

OutputStreams::~OutputStreams() {
  std::cout.flush();
  std::fclose(data_);
  std::fclose(messages_);
}

bool OutputStreams::finish() {
  std::cout.flush();
  return std::fflush(data_) == 0 && std::ferror(data_) == 0;
}

void put(std::FILE* stream, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace morvex::tools

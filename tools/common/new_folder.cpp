#include "common/new_folder.hpp"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "common/exit_codes.hpp"

namespace morvex::tools {
namespace {

/// Whether a folder has anything in it.
bool hasEntries(const std::string& path) {
  DIR* const folder = ::opendir(path.c_str());
  if (!folder) failAt(path);
  bool isFound = false;
  while (const dirent* const entry = ::readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") isFound = true;
  }
  ::closedir(folder);
  return isFound;
}

}  // namespace

void failAt(const std::string& place) {
  throw Failure(kOutputFailed, place + ": " + std::strerror(errno));
}

// The folder for the files in the making is inside, on the file system of their places: moving a file
// there neither copies it nor fails for want of room.
NewFolder::NewFolder(std::string path, bool mayReplace)
    : path_(std::move(path)), temporary_(path_ + "/.morvex-XXXXXX"), mayReplace_(mayReplace) {
  isOwn_ = ::mkdir(path_.c_str(), 0777) == 0;
  if (!isOwn_) {
    struct stat found {};
    if (errno != EEXIST) failAt(path_);
    if (::stat(path_.c_str(), &found) != 0) failAt(path_);
    if (!S_ISDIR(found.st_mode)) throw Failure(kUsageError, path_ + ": is there and no folder");
    if (!mayReplace_ && hasEntries(path_)) {
      throw Failure(kUsageError,
                    path_ + ": has files already; --force replaces those of the same names");
    }
  }
  if (!::mkdtemp(temporary_.data())) {
    const int reason = errno;
    if (isOwn_) ::rmdir(path_.c_str());
    errno = reason;
    failAt(path_);
  }
}

NewFolder::~NewFolder() {
  for (const std::string& name : names_) ::unlink((temporary_ + "/" + name).c_str());
  ::rmdir(temporary_.c_str());
  if (isOwn_) ::rmdir(path_.c_str());  // fails, as it should, once it has files
}

std::string NewFolder::add(const std::string& name) {
  names_.push_back(name);
  return temporary_ + "/" + name;
}

void NewFolder::commit() {
  // All are looked at before the first is moved, so that a refusal changes nothing.
  for (const std::string& name : names_) {
    struct stat found {};
    if (::lstat(placeOf(name).c_str(), &found) != 0) continue;
    if (!S_ISREG(found.st_mode) || !mayReplace_) {
      throw Failure(kOutputFailed, placeOf(name) + ": is there and can't be replaced");
    }
  }
  for (const std::string& name : names_) {
    if (::rename((temporary_ + "/" + name).c_str(), placeOf(name).c_str()) != 0) {
      failAt(placeOf(name));
    }
  }
  names_.clear();
}

FolderFile::FolderFile(NewFolder& folder, const std::string& name)
    : place_(folder.placeOf(name)), file_(std::fopen(folder.add(name).c_str(), "wbe")) {
  if (!file_) failAt(place_);
}

FolderFile::~FolderFile() {
  if (file_) std::fclose(file_);
}

void FolderFile::write(std::span<const std::byte> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) failAt(place_);
}

void FolderFile::finish() {
  std::FILE* const closed = std::exchange(file_, nullptr);
  if (std::fclose(closed) != 0) failAt(place_);
}

}  // namespace morvex::tools

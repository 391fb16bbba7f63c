#pragma once

#include <cstddef>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace morvex::tools {

/// A folder whose files appear together: they are made in a folder of their own inside it and put in
/// their places at the end. What was there before is there until then.
class NewFolder {
 public:
  /// Makes the folder if it is not there. Failure kUsageError if it is no folder, or has files and
  /// `mayReplace` is false; kOutputFailed with the system's reason if nothing can be written there.
  NewFolder(std::string path, bool mayReplace);
  /// Removes what was not put in its place.
  ~NewFolder();
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;

  /// Where a file is to be written meanwhile. Each name is given once.
  [[nodiscard]] std::string add(const std::string& name);
  /// Where it will be.
  [[nodiscard]] std::string placeOf(const std::string& name) const { return path_ + "/" + name; }
  /// Puts the files in their places, in the order in which they were added; files of the same names are
  /// replaced if that was allowed. Failure kOutputFailed.
  void commit();

 private:
  std::string path_;
  std::string temporary_;
  std::vector<std::string> names_;
  bool mayReplace_;
  bool isOwn_;  ///< the folder was made here
};

/// A file of such a folder, written from its start to its end.
class FolderFile {
 public:
  FolderFile(NewFolder& folder, const std::string& name);
  ~FolderFile();
  FolderFile(const FolderFile&) = delete;
  FolderFile& operator=(const FolderFile&) = delete;

  /// Failure kOutputFailed.
  void write(std::span<const std::byte> bytes);
  void write(std::string_view text) { write(std::as_bytes(std::span(text))); }
  /// Closes the file, which reports what could not be written. Failure kOutputFailed.
  void finish();

 private:
  std::string place_;  ///< for messages
  std::FILE* file_;
};

/// Throws Failure kOutputFailed with the system's reason, errno.
[[noreturn]] void failAt(const std::string& place);

}  // namespace morvex::tools

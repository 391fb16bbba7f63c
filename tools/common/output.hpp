#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace morvex::tools {

/// Gives standard streams that the program was started without a place where nothing is lost in
/// silence: writing to such a standard output fails. To be called before any file is opened.
void keepStandardStreams();

/// Writes data to standard output. Failure kOutputFailed with the system's reason, now or later.
void put(std::string_view text);

/// Writes all that was put. Failure kOutputFailed if any of it is lost, as on a full disk.
void finishOutput();

/// Columns of the terminal that standard output is; 0 if it is none.
[[nodiscard]] std::size_t terminalWidth();

/// Writes a line "morvex: text" to standard error.
void complain(std::string_view program, std::string_view text);

/// A file that is complete or not there: it is made beside its place and put there at the end.
class NewFile {
 public:
  /// Failure kUsageError if the place is taken by anything but a regular file that may be replaced,
  /// kOutputFailed with the system's reason if nothing can be written there.
  NewFile(std::string path, bool mayReplace);
  /// Removes what was not put in its place.
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Where the content is to be written meanwhile.
  [[nodiscard]] const std::string& temporaryPath() const noexcept { return temporary_; }
  /// Appends to the content. Failure kOutputFailed.
  void write(std::string_view bytes);
  /// Puts the file in its place. Failure kOutputFailed.
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::string path_;
  std::string temporary_;
  bool mayReplace_;
  int descriptor_;
};

}  // namespace morvex::tools

#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

namespace morvex {

/// A path for this process alone; the file is deleted with the object.
class TemporaryPath {
 public:
  explicit TemporaryPath(const std::string& name)
      : path_(std::filesystem::temp_directory_path() /
              ("morvex_" + std::to_string(::getpid()) + "_" + name)) {}
  ~TemporaryPath() { std::filesystem::remove(path_); }
  TemporaryPath(const TemporaryPath&) = delete;
  TemporaryPath& operator=(const TemporaryPath&) = delete;

  [[nodiscard]] std::string string() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace morvex

#pragma once

#include <map>
#include <string>
#include <string_view>

#include "writer/byte_writer.hpp"

namespace morvex::Writer {

/// The datasets of a file by path, in memory: what a test may look at, damage or take away before
/// it becomes a container.
class ResultImage {
 public:
  /// The dataset "/group/.../name", made where it is missing.
  Bytes& operator[](std::string_view path);
  /// std::out_of_range where it is missing.
  [[nodiscard]] const Bytes& at(std::string_view path) const;
  [[nodiscard]] bool contains(std::string_view path) const;
  /// False where there was none.
  bool erase(std::string_view path);

  [[nodiscard]] const std::map<std::string, Bytes, std::less<>>& datasets() const noexcept {
    return datasets_;
  }

  /// Writes a container, replacing a file of that name. With `deflateRecords` the metadata go in
  /// deflated where that makes them shorter; all other datasets are compressed by themselves and
  /// must be readable in part. std::runtime_error where writing fails.
  void write(const std::string& path, bool deflateRecords = false) const;

 private:
  std::map<std::string, Bytes, std::less<>> datasets_;
};

}  // namespace morvex::Writer

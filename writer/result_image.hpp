#pragma once

#include <map>
#include <string>
#include <string_view>

#include "writer/byte_writer.hpp"

namespace morvex::Writer {

/// The datasets of a file by path, in memory: tests inspect, damage or remove them before they
/// become a container.
class ResultImage {
 public:
  /// The dataset "/group/.../name", made if it is missing.
  Bytes& operator[](std::string_view path);
  /// std::out_of_range if it is missing.
  [[nodiscard]] const Bytes& at(std::string_view path) const;
  [[nodiscard]] bool contains(std::string_view path) const;
  /// False if there was none.
  bool erase(std::string_view path);

  [[nodiscard]] const std::map<std::string, Bytes, std::less<>>& datasets() const noexcept {
    return datasets_;
  }

  /// Writes a container, replacing a file of that name. With `deflateRecords` metadata are stored
  /// deflated where that makes them shorter. All other datasets are compressed already and must be
  /// readable in part. std::runtime_error if writing fails.
  void write(const std::string& path, bool deflateRecords = false) const;

 private:
  std::map<std::string, Bytes, std::less<>> datasets_;
};

}  // namespace morvex::Writer

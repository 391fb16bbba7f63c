#pragma once

#include <fstream>
#include <string>

#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"

namespace morvex {

/// A result file that exists as long as the object.
class WrittenFile {
 public:
  explicit WrittenFile(void (*describe)(Writer::ResultFileBuilder& file)) {
    Writer::ResultFileBuilder file;
    describe(file);
    file.write(path_.string());
  }

  [[nodiscard]] std::string path() const { return path_.string(); }

  /// Changes the byte at a position counted from the file's start.
  void spoil(std::streamoff position) const {
    std::fstream file(path(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(position);
    const int byte = file.get();
    file.seekp(position);
    file.put(static_cast<char>(byte ^ 0x55));
  }

 private:
  inline static int made_ = 0;
  TemporaryPath path_{"written_" + std::to_string(made_++)};
};

}  // namespace morvex

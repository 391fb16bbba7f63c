#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "common/new_folder.hpp"

namespace morvex::tools {

/// Bytes of a value of one of numpy's types, whose name ends with them: 4 of "<f4".
[[nodiscard]] constexpr std::uint64_t valueSize(const char* type) {
  return static_cast<std::uint64_t>(type[2] - '0');
}

/// An archive of numpy's arrays, as numpy.load takes it: a zip file whose members are .npy files. They
/// are stored as they are, so that writing costs no more than the disk.
class NpzFile {
 public:
  NpzFile(NewFolder& folder, const std::string& name);
  ~NpzFile();
  NpzFile(const NpzFile&) = delete;
  NpzFile& operator=(const NpzFile&) = delete;

  /// Begins an array under a key, which is given once. `type` is numpy's, for example "<f4". Like all
  /// that follows, Failure kOutputFailed.
  void begin(const std::string& key, const char* type, std::span<const std::uint64_t> shape);
  /// Appends values of the array: as many as its shape says, in any number of calls.
  void append(std::span<const std::byte> bytes);
  void end();
  /// A whole array.
  void add(const std::string& key, const char* type, std::span<const std::uint64_t> shape,
           std::span<const std::byte> bytes);
  /// Ends the archive.
  void finish();

 private:
  void expect(int code) const;

  std::string place_;  ///< for messages
  void* zip_;
};

}  // namespace morvex::tools

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/new_folder.hpp"

namespace morvex::tools {

/// An archive of numpy's arrays, as numpy.load takes it: a zip file whose members are .npy files. They
/// are stored as they are, so that writing costs no more than the disk.
class NpzFile {
 public:
  NpzFile(NewFolder& folder, const std::string& name);
  ~NpzFile();
  NpzFile(const NpzFile&) = delete;
  NpzFile& operator=(const NpzFile&) = delete;

  /// Adds an array under a key, which is given once. `type` is numpy's, for example "<f4". Failure
  /// kOutputFailed.
  void add(const std::string& key, const char* type, const std::vector<std::uint64_t>& shape,
           std::span<const std::byte> bytes);
  /// Ends the archive. Failure kOutputFailed.
  void finish();

 private:
  void expect(int code) const;

  std::string place_;  ///< for messages
  void* zip_;
};

}  // namespace morvex::tools

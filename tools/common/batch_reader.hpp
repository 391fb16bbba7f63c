#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "common/array_list.hpp"

namespace morvex::tools {

/// What became of an array.
struct ArrayResult {
  const ArrayId& id;
  std::span<const std::byte> bytes;  ///< float, int32 or int16 values; empty after a failure
  const Error* failure;              ///< null after a success
};

/// Whether an array failed because the variable has no values there. That is no fault: which parts,
/// steps and element types have values is known from their datasets alone.
[[nodiscard]] bool isAbsent(const File& file, const ArrayResult& result);

/// Reads any number of arrays in batches of bounded memory, each by all threads of the file.
class BatchReader {
 public:
  /// Called for each array in the order in which they were added. The bytes are valid meanwhile.
  using Receive = std::function<void(const ArrayResult&)>;
  /// Called from time to time while a batch is read, with the part of it that is done and the bytes
  /// delivered so far. False ends the read.
  using Progress = std::function<bool(double part, std::uint64_t bytes)>;

  /// `file` is borrowed. `room`: bytes that a batch may have; one larger array is a batch of its own.
  BatchReader(const File& file, Receive receive, Progress progress,
              std::size_t room = std::size_t{64} << 20U)
      : file_(file), receive_(std::move(receive)), progress_(std::move(progress)), room_(room) {}

  /// Adds an array; reads the batch so far if there is no room for it.
  void add(const ArrayId& array);
  /// Reads what was added and not read. Throws Interrupted if the progress function ends it.
  void flush();

 private:
  /// False if there is no memory.
  [[nodiscard]] bool makeRoom();
  // Called by threads of the library, one at a time.
  static std::int32_t onProgress(void* self, std::uint64_t done, std::uint64_t total,
                                 std::uint64_t bytes);
  static void onFailure(void* self, std::uint64_t index, const morvex_error* error);

  const File& file_;
  Receive receive_;
  Progress progress_;
  std::size_t room_;
  std::unique_ptr<std::byte[]> memory_;
  std::size_t capacity_ = 0;

  std::vector<ArrayId> batch_;
  std::vector<ArraySize> sizes_;
  std::size_t used_ = 0;  ///< sum of the sizes in bytes, each rounded up
  std::vector<std::unique_ptr<Error>> failures_;
  std::vector<std::size_t> requested_;  ///< places in the batch of what is being read
  std::uint64_t bytes_ = 0;
};

/// Ends a command after Ctrl-C.
struct Interrupted {};

/// Catches Ctrl-C from now on: the first sets `isInterrupted`, a second one ends the program at once.
void catchInterrupts();
[[nodiscard]] bool isInterrupted() noexcept;

}  // namespace morvex::tools

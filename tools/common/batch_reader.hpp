#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
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

/// Reads any number of arrays in batches of bounded memory, each by all threads of the file. While one
/// batch is received, the next one is read.
class BatchReader {
 public:
  /// Called for an array when it was read. The bytes are valid meanwhile.
  using Receive = std::function<void(const ArrayResult&)>;
  /// Called from time to time while a batch is read, with the place that is reached and the bytes
  /// delivered so far. False ends the read.
  using Progress = std::function<bool(double place, std::uint64_t bytes)>;

  /// Half of what the arrays of two batches take.
  static constexpr std::size_t kRoom = std::size_t{24} << 20U;

  /// `file` is borrowed. `isConcurrent`: batches are received by a thread of their own; otherwise by
  /// the caller's, and there is one batch at a time. An array larger than kRoom is a batch of its own.
  BatchReader(const File& file, bool isConcurrent, Progress progress)
      : file_(file), progress_(std::move(progress)), isConcurrent_(isConcurrent) {}

  /// Adds an array; reads the batch so far if there is no room for it. Arrays are received one by one,
  /// in the order in which they were added. `place`: how far the work has come with it, in any unit.
  ///
  /// This and what follows throw Interrupted if the progress function ends a read, and what `receive`
  /// or an action throws, perhaps after further arrays were added. Nothing is received after that.
  void add(const ArrayId& array, Receive receive, double place = 0.0);
  /// Adds an action, which runs like the receiving of an array: after all that was added before.
  void then(std::function<void()> action);
  /// Reads what was added and not read.
  void read();
  /// Reads what was added and waits until all of it is received.
  void finish();
  /// Waits for the batch that is being received and drops what it throws. For callers that fail.
  void stop() noexcept;

 private:
  /// An array, or an action.
  struct Item {
    ArrayId array;
    Receive receive;
    ArraySize size;
    std::unique_ptr<Error> failure;
    std::function<void()> action;
  };
  struct Batch {
    std::vector<Item> items;
    std::size_t used = 0;  ///< sum of the arrays' sizes in bytes, each rounded up
    double place = 0.0;    ///< of the last array
    std::unique_ptr<std::byte[]> memory;
    std::size_t capacity = 0;
  };

  /// Fills the memory of the batch.
  void readBatch();
  /// False if there is no memory.
  [[nodiscard]] bool makeRoom();
  static void receive(Batch& batch);
  void waitForReceived();
  // Called by threads of the library, one at a time.
  static std::int32_t onProgress(void* self, std::uint64_t done, std::uint64_t total,
                                 std::uint64_t bytes);
  static void onFailure(void* self, std::uint64_t index, const morvex_error* error);

  const File& file_;
  Progress progress_;
  bool isConcurrent_;
  Batch batch_;                         ///< collects arrays, or is being read
  Batch received_;                      ///< is being received, or empty
  std::vector<std::size_t> requested_;  ///< items of the batch that is being read
  double place_ = 0.0;                  ///< of the last array that was read
  std::uint64_t bytes_ = 0;             ///< that were read
  std::future<void> receiving_;         ///< last: its end is waited for before the rest goes
};

/// Ends a command after Ctrl-C.
struct Interrupted {};

/// Catches Ctrl-C from now on: the first sets `isInterrupted`, a second one ends the program at once.
void catchInterrupts();
[[nodiscard]] bool isInterrupted() noexcept;

}  // namespace morvex::tools

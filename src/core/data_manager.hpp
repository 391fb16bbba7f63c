#pragma once

#include <cstdint>

#include "core/block_pool.hpp"

namespace Kelbor {

class DataContainer;

/// Allocates the memory of containers from the C heap, without a budget. Each session has one
/// manager; all providers and procedures borrow it and must not outlive it.
class DataManager {
 public:
  /// Logs "Using lightweight data manager!" at WARNING. Hosts may pass the machine's memory in
  /// bytes; it limits nothing.
  explicit DataManager(std::uint64_t totalPhysicalMemory);
  /// The same without the log line.
  DataManager() = default;
  DataManager(const DataManager&) = delete;
  DataManager& operator=(const DataManager&) = delete;

  /// Gives an empty container `size` bytes, not zeroed. Logs a WARNING and returns false if the
  /// container is null, constant or holds a block already, or if memory runs out.
  bool allocate(DataContainer* container, std::uint64_t size) noexcept;
  /// Resizes the block, keeping its bytes. False leaves the container empty.
  bool reallocate(DataContainer& container, std::uint64_t size) noexcept;
  /// Frees the block unless it is foreign, and leaves the container empty.
  bool deallocate(DataContainer& container) noexcept;

  /// Most threads that a read of this session may use. Set once, before the first read; by default
  /// the process's thread count at the time of each read.
  void setThreadBudget(int threads) noexcept { threadBudget_ = threads; }
  [[nodiscard]] int threadBudget() const;

 private:
  BlockPool pool_;
  int threadBudget_ = 0;
};

}  // namespace Kelbor

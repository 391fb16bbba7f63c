#pragma once

#include <cstdint>

#include "core/block_pool.hpp"

namespace Kelbor {

class DataContainer;

/// Gives containers their memory, from the C heap and with no budget of its own. One manager is the
/// shared context of a session; everything in a graph borrows it and must not outlive it.
class DataManager {
 public:
  /// Logs "Using lightweight data manager!" at WARNING. The machine's memory in bytes is taken for
  /// hosts that pass it, and limits nothing.
  explicit DataManager(std::uint64_t totalPhysicalMemory = 0);
  DataManager(const DataManager&) = delete;
  DataManager& operator=(const DataManager&) = delete;

  /// Gives an empty container `size` bytes, not zeroed. False, after a WARNING, if the container is
  /// null, constant or already holds a block, or if memory runs out. Throws nothing.
  bool allocate(DataContainer* container, std::uint64_t size) noexcept;
  /// Resizes the block, keeping its bytes. False leaves the container empty.
  bool reallocate(DataContainer& container, std::uint64_t size) noexcept;
  /// Frees the block unless it is foreign memory, and leaves the container empty.
  bool deallocate(DataContainer& container) noexcept;

 private:
  BlockPool pool_;
};

}  // namespace Kelbor

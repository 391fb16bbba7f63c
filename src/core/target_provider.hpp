#pragma once

#include "core/provider.hpp"

namespace Kelbor {

/// An array whose content is written to the caller's memory, so that a final result needs no copy.
/// Between productions the block can't be written, freed or moved.
class TargetDataProvider final : public DataProvider {
 public:
  /// `memory` must outlive the provider; std::runtime_error if it is null.
  TargetDataProvider(DataManager* context, DataDimension dimension, void* memory,
                     std::uint64_t sizeInBytes);

  [[nodiscard]] bool isFreeable() const override { return false; }
  /// std::runtime_error if the dimension needs more than the memory given.
  bool prepare() override;

 private:
  void* targetMemory_;
  std::uint64_t targetSize_;
};

}  // namespace Kelbor

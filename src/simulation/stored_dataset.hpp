#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/provider.hpp"

namespace morvex {

struct ReadContext;

/// The first two words of a dataset that a recipe rebuilds.
struct DatasetHeader {
  /// Index into the file's recipes, from 0.
  std::int32_t recipeIndex;
  /// Index into its parameter blocks, from 1; 0 for none.
  std::int32_t conParamIndex;
};

/// A dataset whose header has been read; for small datasets the payload as well.
struct StoredDataset {
  DatasetHeader header;
  /// The bytes after the header. Never null.
  std::unique_ptr<Kelbor::DataProvider> payload;
};

/// std::runtime_error for a dataset that is missing or has no complete header; Kelbor::Exception if
/// it can't be read, which includes datasets that the container itself has deflated. Records a
/// missing dataset in the context.
[[nodiscard]] StoredDataset openStoredDataset(ReadContext& context, const std::string& group,
                                              const std::string& name);

}  // namespace morvex

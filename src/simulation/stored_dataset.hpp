#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/provider.hpp"
#include "sdf/sdf_file.hpp"

namespace morvex {

/// The two words at the front of a dataset that a recipe rebuilds.
struct DatasetHeader {
  /// From 0 into the file's recipes.
  std::int32_t recipeIndex;
  /// From 1 into its parameter blocks, 0 for none.
  std::int32_t conParamIndex;
};

/// A dataset that has been looked up and whose header has been read. Of small ones the payload has
/// come with it.
struct StoredDataset {
  DatasetHeader header;
  /// What follows the header, as bytes. Never null.
  std::unique_ptr<Kelbor::DataProvider> payload;
};

/// std::runtime_error for a dataset that is not there or has no whole header; Kelbor::Exception
/// where it can't be read, which is so for one that the container itself has deflated.
[[nodiscard]] StoredDataset openStoredDataset(Kelbor::MathModule::SdfFile& file,
                                              const std::string& group, const std::string& name);

}  // namespace morvex

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "metadata/geometry_records.hpp"
#include "morvex/morvex.h"

namespace morvex::Api {

// The cells of a part as one list: by ascending type, without the types 31 and 33.

struct CellSizes {
  std::uint64_t cells = 0;
  /// Nodes of all cells in total.
  std::uint64_t connectivity = 0;
};

/// Computed from the metadata. Refusal for numbers that exceed the range.
[[nodiscard]] CellSizes cellSizesOf(const GeometryMetadata& state, std::size_t part);

/// Names of the datasets with the nodes and their counts.
[[nodiscard]] std::vector<std::string> cellDatasets(const GeometryMetadata& state,
                                                    std::size_t part);

/// A table of integers. Its memory is not touched before the values come: a damaged file may announce
/// any number.
class IdTable {
 public:
  explicit IdTable(std::size_t count)
      : values_(std::make_unique_for_overwrite<std::int32_t[]>(count)), count_(count) {}

  [[nodiscard]] std::int32_t* data() noexcept { return values_.get(); }
  [[nodiscard]] const std::int32_t* begin() const noexcept { return values_.get(); }
  [[nodiscard]] const std::int32_t* end() const noexcept { return values_.get() + count_; }
  [[nodiscard]] std::size_t size() const noexcept { return count_; }
  [[nodiscard]] std::int32_t operator[](std::size_t index) const noexcept { return values_[index]; }

 private:
  std::unique_ptr<std::int32_t[]> values_;
  std::size_t count_;
};

/// Reads a table of the part: nodes of an element type, or sizes.
using CellTable = std::function<IdTable(morvex_kind kind, int elementType)>;

void fillCellTypes(const GeometryMetadata& state, std::size_t part, std::uint8_t* types);

/// The index of each cell's first node, and the end of the last cell. Refusal MORVEX_DAMAGED for
/// sizes whose sum differs from the number of nodes.
void fillCellOffsets(const GeometryMetadata& state, std::size_t part, const CellTable& table,
                     std::span<std::int64_t> offsets);

/// The nodes, counted from 0. Refusal MORVEX_DAMAGED for a node that the part lacks.
void fillCellConnectivity(const GeometryMetadata& state, std::size_t part, const CellTable& table,
                          std::span<std::int64_t> nodes);

}  // namespace morvex::Api

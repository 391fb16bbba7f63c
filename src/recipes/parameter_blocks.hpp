#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "core/element_type.hpp"
#include "metadata/precisions.hpp"

namespace morvex {

/// A parameter block: a version triple and packed values, which the factories read in chain order.
using ParameterBlock = std::vector<std::byte>;

/// Marks the inputs of a parallel wrapper as beginning with a chunk table.
inline constexpr std::uint32_t kChunkTableMarker = 0xFFFFFFFF;

/// The blocks that the reader composes itself, each on first use. References are valid as long as
/// this object.
class ParameterBlocks {
 public:
  /// Decompression in chunks into values of `type`.
  [[nodiscard]] const ParameterBlock& decompression(Kelbor::DataType type);
  /// Decompression of ids stored as back references.
  [[nodiscard]] const ParameterBlock& window();
  /// Dequantisation, preceded by the values of a decompression if the chain has one.
  [[nodiscard]] const ParameterBlock& dequantization(bool withDecompression,
                                                     const PrecisionSetting& precision);

 private:
  /// All that a block is made from.
  struct Key {
    /// 0 for a block without a decompression.
    std::int32_t decompressedType = 0;
    std::int32_t idWindowMethod = 0;
    /// Negative for a block without a dequantisation.
    std::int64_t quantizationType = -1;
    /// The bits of the step, since a stored step may be NaN, which equals nothing.
    std::uint64_t step = 0;

    friend auto operator<=>(const Key&, const Key&) = default;
  };

  const ParameterBlock& blockOf(const Key& key);

  std::map<Key, ParameterBlock> blocks_;
};

}  // namespace morvex

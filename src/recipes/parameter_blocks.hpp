#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/element_type.hpp"
#include "metadata/precisions.hpp"

namespace morvex {

/// The labels of recipes whose parameters the reader builds itself, and parts of labels.
namespace Labels {

inline constexpr std::string_view kDefault = "DefaultDecompression";
inline constexpr std::string_view kTreeDiff = "TreeDiffDecompression";
inline constexpr std::string_view kWindow = "WindowDecompression";
inline constexpr std::string_view kStoredParameters = "DefaultCompressionWithNonDefaultTargetSize";
inline constexpr std::string_view kAbsolutePrefix = "abs_";
inline constexpr std::string_view kAdaptivePrefix = "adapt_";
inline constexpr std::string_view kLinearAdaptivePrefix = "linadapt_";

}  // namespace Labels

/// Well-known names of a chain's results.
inline constexpr std::string_view kUncompressed = "Uncompressed";
inline constexpr std::string_view kDequantized = "Dequantized";

/// A parameter block: a version triple and packed values, read by the factories in chain order.
using ParameterBlock = std::vector<std::byte>;

/// Decompression by chunks into values of `type`.
[[nodiscard]] ParameterBlock decompressionBlock(Kelbor::DataType type);
/// Decompression of ids stored as back references.
[[nodiscard]] ParameterBlock windowBlock();
/// Dequantisation, with the values of a decompression before it where the chain has one.
[[nodiscard]] ParameterBlock dequantizationBlock(bool withDecompression,
                                                 const PrecisionSetting& precision);

}  // namespace morvex

#pragma once

#include <string_view>

namespace morvex {

/// Labels, and parts of labels, of recipes whose parameters the reader composes itself.
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

}  // namespace morvex

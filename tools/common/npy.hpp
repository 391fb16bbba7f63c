#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace morvex::tools {

/// Header of a file in NumPy's format 1.0; the values follow in C order, the last index running
/// fastest. `type` is NumPy's, for example "<f4". `shape` has at least one extent.
[[nodiscard]] std::string npyHeader(std::string_view type, std::span<const std::uint64_t> shape);

}  // namespace morvex::tools

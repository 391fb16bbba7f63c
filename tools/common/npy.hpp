#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace morvex::tools {

/// Header of a file in NumPy's format 1.0; the values follow, row by row. `type` is such as "<f4".
/// One column makes a one-dimensional array.
[[nodiscard]] std::string npyHeader(std::string_view type, std::uint64_t rows,
                                    std::uint64_t columns);

}  // namespace morvex::tools

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace morvex::tools {

/// 64-bit xxHash of the bytes; other keys give unrelated values.
[[nodiscard]] std::uint64_t hashOf(std::span<const std::byte> bytes, std::uint64_t key = 0);
[[nodiscard]] std::uint64_t hashOf(std::string_view text);

}  // namespace morvex::tools

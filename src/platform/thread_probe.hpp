#pragma once

#include <cstddef>

namespace Kelbor::Platform {

/// How many more threads the system grants at this moment, at most `wanted`: starts so many at
/// once, and ends them. For runtimes that end the process where they are refused one. What other
/// threads and processes take a moment later can't be foreseen.
[[nodiscard]] std::size_t startableThreads(std::size_t wanted) noexcept;

/// Whether the heap has a block of that size.
[[nodiscard]] bool hasMemory(std::size_t size) noexcept;

}  // namespace Kelbor::Platform

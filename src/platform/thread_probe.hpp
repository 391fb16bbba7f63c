#pragma once

#include <cstddef>

namespace Kelbor::Platform {

/// How many more threads the system grants now, at most `wanted`: starts them all at once and joins
/// them. For runtimes that end the process if they are refused a thread. Other threads and
/// processes may still take some of them before the caller does.
[[nodiscard]] std::size_t startableThreads(std::size_t wanted) noexcept;

/// Whether the heap can allocate a block of that size, in bytes.
[[nodiscard]] bool hasMemory(std::size_t size) noexcept;

}  // namespace Kelbor::Platform

#pragma once

#include <cstdint>

namespace Kelbor::Platform {

/// Physical memory of the machine in bytes; 0 where the system does not tell.
[[nodiscard]] std::uint64_t totalPhysicalMemory() noexcept;

/// Processors that the system offers; at least 1.
[[nodiscard]] int processorCount() noexcept;

}  // namespace Kelbor::Platform

#pragma once

#include <cstdint>

namespace Kelbor::Platform {

/// Physical memory of the machine in bytes; 0 if unknown.
[[nodiscard]] std::uint64_t totalPhysicalMemory() noexcept;

/// Processors of the machine; at least 1.
[[nodiscard]] int processorCount() noexcept;

}  // namespace Kelbor::Platform

#pragma once

#include <cstddef>

namespace Kelbor::MathModule {

/// Threads that the parallel runtime would use at most, the caller's included; at least 1.
[[nodiscard]] std::size_t arenaThreads() noexcept;

/// Calls `work(context)` up to `size` times, on as many threads as the runtime has to spare, the
/// caller's included, and returns when all calls have ended. The caller must not rely on any call:
/// there is none if the runtime is out of memory. `work` must not throw.
///
/// arena.cpp is the only file that uses the parallel runtime's threads, and does nothing else: the
/// thread sanitizer leaves it out, as it sees only this half of what the runtime synchronises.
void runInArena(std::size_t size, void (*work)(void*), void* context) noexcept;

}  // namespace Kelbor::MathModule

#pragma once

#include <cstddef>
#include <functional>

namespace Kelbor::MathModule {

/// Calls `work` once for each index below `count`, on up to `threads` threads including the
/// caller's, and returns when all calls have ended. The caller's thread does everything itself if
/// no other thread joins in time, for a single index, and in a forked child of a process that has
/// run a team. If the system refuses threads, the team is smaller. `work` must not throw, nor write
/// what another index reads or writes; it may call runTeam. Its log lines go where the caller's go.
void runTeam(std::size_t count, int threads, const std::function<void(std::size_t)>& work);

}  // namespace Kelbor::MathModule

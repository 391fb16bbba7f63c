#pragma once

#include <cstddef>
#include <functional>

namespace Kelbor::MathModule {

/// Calls `work` for every index below `count`, each once, on up to `threads` threads, each of which
/// takes one contiguous range. Returns when all are done. Uses the caller's thread alone where a
/// team would gain nothing or the process can't have one: for a single index, inside a parallel
/// region of the host, in a forked child of a process that has run a team. Where the system refuses
/// threads the team is smaller.
/// `work` must not throw and must write nothing that another index reads or writes.
/// The one place that knows the parallel runtime.
void runTeam(std::size_t count, int threads, const std::function<void(std::size_t)>& work);

}  // namespace Kelbor::MathModule

#pragma once

namespace Kelbor::Platform {

/// How many threads a read may use, for the whole process; at least 1. The count of setThreadCount,
/// else the environment variable OMP_NUM_THREADS if it is positive, else the processors less two.
/// The first answer is kept: later changes of the environment have no effect.
[[nodiscard]] int threadCount();

/// Sets a positive count for all later reads; ignores any other.
void setThreadCount(int threads);

namespace Detail {

/// The count where neither the host nor the environment sets one.
[[nodiscard]] constexpr int threadsForProcessors(int processors) noexcept {
  return processors < 4 ? 1 : processors - 2;
}

/// Forgets the kept counts, as if the library had just been loaded. For tests.
void forgetThreadCount();

}  // namespace Detail
}  // namespace Kelbor::Platform

#pragma once

namespace Kelbor::Platform {

/// The one answer to "how many threads may a read use", for the whole process; at least 1.
/// A count once found or set is kept: an earlier call of setThreadCount, else the environment
/// variable OMP_NUM_THREADS where it is positive, else the processors less two, 1 on machines of
/// up to three.
[[nodiscard]] int threadCount();

/// Keeps a positive count for all later reads and ignores any other.
void setThreadCount(int threads);

namespace Detail {

/// The rule for a machine whose user has asked for nothing.
[[nodiscard]] constexpr int threadsForProcessors(int processors) noexcept {
  return processors < 4 ? 1 : processors - 2;
}

/// Forgets the kept counts, as if the library had just been loaded. For tests.
void forgetThreadCount();

}  // namespace Detail
}  // namespace Kelbor::Platform

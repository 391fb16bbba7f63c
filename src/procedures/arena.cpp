#include "procedures/arena.hpp"

#include <tbb/info.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <exception>

namespace Kelbor::MathModule {

std::size_t arenaThreads() noexcept {
  return static_cast<std::size_t>(std::max(tbb::info::default_concurrency(), 1));
}

void runInArena(std::size_t size, void (*work)(void*), void* context) noexcept {
  try {
    tbb::task_arena arena(static_cast<int>(size), /*reserved_for_masters=*/1);
    arena.execute([=] {
      tbb::parallel_for(
          std::size_t{0}, size, [=](std::size_t) { work(context); }, tbb::simple_partitioner());
    });
  } catch (const std::exception&) {  // out of memory
  }
}

}  // namespace Kelbor::MathModule

// Opening files and asking for all tables; no array is read.

#include <benchmark/benchmark.h>
#include <morvex/morvex_ensg.h>

#include <filesystem>

#include "host_session.hpp"
#include "measure.hpp"
#include "model_files.hpp"

namespace {

using namespace morvex::Bench;

void openFile(benchmark::State& state, const ManyArrays& many) {
  const ScratchDirectory directory;
  const std::string path = directory.path("file.sdf");
  writeManyArrays(path, many);
  const auto run = [&] {
    const Session session(path, 1);
    benchmark::DoNotOptimize(readTables());
  };
  state.counters["peakMB"] = 1e-6 * static_cast<double>(peakMemoryOf(run));
  state.counters["fileMB"] = 1e-6 * static_cast<double>(std::filesystem::file_size(path));
  for ([[maybe_unused]] auto _ : state) run();
}

void openTenDatasets(benchmark::State& state) {
  openFile(state, {.parts = 1, .variables = 1, .steps = 10, .valuesPerArray = 100});
}
void openThousandDatasets(benchmark::State& state) {
  openFile(state, {.parts = 10, .variables = 10, .steps = 10, .valuesPerArray = 100});
}
void openHundredThousandDatasets(benchmark::State& state) {
  openFile(state, {.parts = 100, .variables = 10, .steps = 100, .valuesPerArray = 100});
}
void openTenThousandSteps(benchmark::State& state) {
  openFile(state, {.parts = 1, .variables = 1, .steps = 10'000, .valuesPerArray = 100});
}
BENCHMARK(openTenDatasets)->Unit(benchmark::kMicrosecond);
BENCHMARK(openThousandDatasets)->Unit(benchmark::kMicrosecond);
BENCHMARK(openHundredThousandDatasets)->Unit(benchmark::kMicrosecond);
BENCHMARK(openTenThousandSteps)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();

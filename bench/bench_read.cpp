// Reads through the exports, each timed from opening to the last value, as a host works.

#include <benchmark/benchmark.h>
#include <morvex/morvex_ensg.h>

#include <map>
#include <numeric>

#include "host_session.hpp"
#include "measure.hpp"
#include "model_files.hpp"

namespace {

using namespace morvex::Bench;

constexpr std::uint32_t kNodes = 1'000'000;
constexpr std::uint64_t kChunks = 8;
constexpr int kWalkSteps = 100;
constexpr std::uint32_t kWalkNodes = 50'000;

/// Files are written on first use and deleted when the process exits.
std::string fileOf(const std::string& name, const CrashModel& model) {
  static const ScratchDirectory directory;
  static std::map<std::string, bool> written;
  std::string path = directory.path(name);
  if (!written[name]) writeCrashModel(path, model);
  written[name] = true;
  return path;
}

/// The requests of the listing that `wanted` selects.
template <class Wanted>
std::vector<Question> pick(const Listing& listing, const Wanted& wanted) {
  std::vector<Question> picked;
  for (const Question& question : listing.questions) {
    if (wanted(question)) picked.push_back(question);
  }
  return picked;
}

Listing listed(const std::string& path) {
  const Session session(path, 1);
  return listArrays(std::size_t{1} << 30);
}

void readCoordinates(benchmark::State& state, const CrashModel& model, const std::string& name) {
  const std::string path = fileOf(name, model);
  const Listing listing = listed(path);
  const auto questions = pick(listing, [](const Question& q) { return q.variable < 0; });
  Arrays arrays = emptyArrays(listing);
  std::int64_t values = 0;
  for (const Question& q : questions) {
    values += 3 * static_cast<std::int64_t>(listing.sizes[q.firstArray]);
  }
  const auto run = [&] {
    const Session session(path, static_cast<int>(state.range(0)));
    for (const Question& q : questions) ask(q, arrays);
  };
  state.counters["peakMB"] = 1e-6 * static_cast<double>(peakMemoryOf(run));
  for ([[maybe_unused]] auto _ : state) run();
  state.SetItemsProcessed(state.iterations() * values);
  state.SetBytesProcessed(state.iterations() * values * 4);
}

void exactCoordinates(benchmark::State& state) {
  readCoordinates(
      state, {.nodes = kNodes, .parts = 1, .isQuantised = false, .tableChunks = kChunks}, "exact");
}
void quantisedCoordinates(benchmark::State& state) {
  readCoordinates(state, {.nodes = kNodes, .parts = 1, .tableChunks = kChunks}, "quantised");
}
void adaptiveCoordinates(benchmark::State& state) {
  readCoordinates(
      state, {.nodes = kNodes, .parts = 1, .hasAdaptiveCoordinates = true, .tableChunks = kChunks},
      "adaptive");
}

/// Threads, in wall time.
void threads(benchmark::internal::Benchmark* bench) {
  bench->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(exactCoordinates)->Apply(threads);
BENCHMARK(quantisedCoordinates)->Apply(threads);
BENCHMARK(adaptiveCoordinates)->Apply(threads);

/// A variable whose steps depend on other steps, read in the order of `steps`.
void walk(benchmark::State& state, const std::vector<int>& steps) {
  const std::string path = fileOf(
      "walk", {.nodes = kWalkNodes, .parts = 4, .steps = kWalkSteps, .usesTimeDifferences = true});
  const Listing listing = listed(path);
  Arrays arrays = emptyArrays(listing);
  std::vector<Question> questions;
  std::int64_t values = 0;
  for (const int step : steps) {
    for (const Question& q : pick(listing, [step](const Question& each) {
           return each.variable == 0 && each.step == step;
         })) {
      questions.push_back(q);
      values += static_cast<std::int64_t>(listing.sizes[q.firstArray]);
    }
  }
  const auto run = [&] {
    const Session session(path, 1);
    MX_finishedGeometryProcessing();
    for (const Question& q : questions) ask(q, arrays);
  };
  state.counters["peakMB"] = 1e-6 * static_cast<double>(peakMemoryOf(run));
  for ([[maybe_unused]] auto _ : state) run();
  state.SetItemsProcessed(state.iterations() * values);
}

void timeDifferencesForward(benchmark::State& state) {
  std::vector<int> steps(kWalkSteps);
  std::iota(steps.begin(), steps.end(), 0);
  walk(state, steps);
}
void timeDifferencesAtRandom(benchmark::State& state) {
  std::vector<int> steps;
  // 37 and the number of steps have no common factor, so each step occurs once.
  for (int i = 0; i < kWalkSteps; ++i) steps.push_back(i * 37 % kWalkSteps);
  walk(state, steps);
}
BENCHMARK(timeDifferencesForward)->Unit(benchmark::kMillisecond);
BENCHMARK(timeDifferencesAtRandom)->Unit(benchmark::kMillisecond);

void connectivity(benchmark::State& state, bool hasIdWindows) {
  const std::string path =
      fileOf(hasIdWindows ? "windows" : "quantised",
             {.nodes = kNodes, .parts = 1, .hasIdWindows = hasIdWindows, .tableChunks = kChunks});
  constexpr int kQuads = 10;
  std::vector<int> nodes(4 * kNodes);
  const auto run = [&] {
    const Session session(path, static_cast<int>(state.range(0)));
    if (MX_getElementConnectivity(0, 0, kQuads, nodes.data()) != 0) {
      state.SkipWithError("The library refused the connectivity");
    }
  };
  state.counters["peakMB"] = 1e-6 * static_cast<double>(peakMemoryOf(run));
  for ([[maybe_unused]] auto _ : state) run();
  state.SetItemsProcessed(state.iterations() * std::int64_t{4} * kNodes);
}
void connectivityOfDifferences(benchmark::State& state) {
  connectivity(state, false);
}
void connectivityOfIdWindows(benchmark::State& state) {
  connectivity(state, true);
}
BENCHMARK(connectivityOfDifferences)->Apply(threads);
BENCHMARK(connectivityOfIdWindows)->Apply(threads);

}  // namespace

BENCHMARK_MAIN();

// Each kernel alone, beside a copy of the same output and beside the inflating that precedes it.
// Two sizes: a small part that stays in the first-level cache, and a large one that does not.

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <vector>

#include "inflate/plane_chunks.hpp"
#include "inflate/zlib_stream.hpp"
#include "procedures/kernels/byte_planes.hpp"
#include "procedures/kernels/dequantize.hpp"
#include "procedures/kernels/id_window.hpp"
#include "procedures/kernels/prefix_sum.hpp"
#include "procedures/kernels/simd_targets.hpp"
#include "procedures/kernels/sums.hpp"

namespace {

using namespace Kelbor::Inflate;
using namespace Kelbor::MathModule::Kernels;

constexpr std::int64_t kSmall = 2000;
constexpr std::int64_t kLarge = 1000000;

void bothSizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(kSmall)->Arg(kLarge);
}

template <class Out>
void countOutput(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0) *
                          static_cast<std::int64_t>(sizeof(Out)));
}

template <class T>
std::vector<T> randomValues(std::int64_t count) {
  std::mt19937_64 generator(42);
  std::vector<T> values(static_cast<std::size_t>(count));
  for (T& value : values) value = static_cast<T>(generator());
  return values;
}

template <class T>
std::vector<std::byte> randomPlanes(std::int64_t count) {
  const auto values = randomValues<T>(count);
  std::vector<std::byte> planes(values.size() * sizeof(T));
  std::memcpy(planes.data(), values.data(), planes.size());
  return planes;
}

template <class T>
void copyOutput(benchmark::State& state) {
  const auto in = randomValues<T>(state.range(0));
  std::vector<T> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    std::memcpy(out.data(), in.data(), in.size() * sizeof(T));
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  countOutput<T>(state);
}
BENCHMARK(copyOutput<std::uint16_t>)->Apply(bothSizes);
BENCHMARK(copyOutput<std::uint32_t>)->Apply(bothSizes);
BENCHMARK(copyOutput<std::uint64_t>)->Apply(bothSizes);

template <class U>
void planes(benchmark::State& state) {
  const auto in = randomPlanes<U>(state.range(0));
  std::vector<U> out(in.size() / sizeof(U));
  for ([[maybe_unused]] auto _ : state) {
    composePlanes<U>(in, out);
    benchmark::ClobberMemory();
  }
  countOutput<U>(state);
}
BENCHMARK(planes<std::uint16_t>)->Apply(bothSizes);
BENCHMARK(planes<std::uint32_t>)->Apply(bothSizes);
BENCHMARK(planes<std::uint64_t>)->Apply(bothSizes);

template <class U>
void planesZigzagSum(benchmark::State& state) {
  const auto in = randomPlanes<U>(state.range(0));
  std::vector<U> out(in.size() / sizeof(U));
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(composePlanesZigzagSum<U>(in, out, U{0}));
    benchmark::ClobberMemory();
  }
  countOutput<U>(state);
}
BENCHMARK(planesZigzagSum<std::uint16_t>)->Apply(bothSizes);
BENCHMARK(planesZigzagSum<std::uint32_t>)->Apply(bothSizes);
BENCHMARK(planesZigzagSum<std::uint64_t>)->Apply(bothSizes);

/// The same kernel without SIMD.
void planesZigzagSumPlainPath(benchmark::State& state) {
  useSimdTarget(simdTargets().back());
  planesZigzagSum<std::uint32_t>(state);
  useBestSimdTarget();
}
BENCHMARK(planesZigzagSumPlainPath)->Apply(bothSizes);

template <class U>
void prefixSums(benchmark::State& state) {
  const auto in = randomValues<U>(state.range(0));
  std::vector<U> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(prefixSum<U>(in, out, U{0}));
    benchmark::ClobberMemory();
  }
  countOutput<U>(state);
}
BENCHMARK(prefixSums<std::uint8_t>)->Apply(bothSizes);
BENCHMARK(prefixSums<std::uint16_t>)->Apply(bothSizes);
BENCHMARK(prefixSums<std::uint32_t>)->Apply(bothSizes);
BENCHMARK(prefixSums<std::uint64_t>)->Apply(bothSizes);

template <class U>
void offsetSumsOfTenBlocks(benchmark::State& state) {
  const auto in = randomValues<U>(state.range(0));
  std::vector<U> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    offsetSums<U>(in, out, 10);
    benchmark::ClobberMemory();
  }
  countOutput<U>(state);
}
BENCHMARK(offsetSumsOfTenBlocks<std::uint32_t>)->Apply(bothSizes);

template <class T>
void vectorSumsOfTwo(benchmark::State& state) {
  const auto in = randomValues<T>(state.range(0));
  const auto second = randomPlanes<T>(state.range(0));
  std::vector<T> other(in.size());
  std::memcpy(other.data(), second.data(), second.size());
  std::vector<T> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    vectorSums<T>(in, in, other, out);
    benchmark::ClobberMemory();
  }
  countOutput<T>(state);
}
BENCHMARK(vectorSumsOfTwo<std::int8_t>)->Apply(bothSizes);
BENCHMARK(vectorSumsOfTwo<std::int32_t>)->Apply(bothSizes);
BENCHMARK(vectorSumsOfTwo<std::int64_t>)->Apply(bothSizes);

/// One tree whose parents are shortly before their children.
void treeSumsOfOneTree(benchmark::State& state) {
  const auto in = randomValues<std::uint32_t>(state.range(0));
  std::vector<std::int32_t> edges;
  for (std::int32_t child = 1; child < state.range(0); ++child) {
    edges.push_back(child - 1 -
                    static_cast<std::int32_t>(in[static_cast<std::size_t>(child)] %
                                              static_cast<std::uint32_t>(std::min(child, 16))));
    edges.push_back(child);
  }
  const std::vector<std::uint64_t> starts = {0};
  std::vector<std::uint32_t> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(checkTree(edges, starts, in.size()));
    treeSums<std::uint32_t>(in, edges, starts, out);
    benchmark::ClobberMemory();
  }
  countOutput<std::uint32_t>(state);
}
BENCHMARK(treeSumsOfOneTree)->Apply(bothSizes);

template <class In, class Out>
void uniform(benchmark::State& state) {
  const auto in = randomValues<In>(state.range(0));
  std::vector<Out> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    dequantizeUniform<In, Out>(in, out, 0.001);
    benchmark::ClobberMemory();
  }
  countOutput<Out>(state);
}
BENCHMARK(uniform<std::int32_t, float>)->Apply(bothSizes);
BENCHMARK(uniform<std::int64_t, double>)->Apply(bothSizes);
BENCHMARK(uniform<std::int64_t, float>)->Apply(bothSizes);

template <bool isShift>
void adaptive(benchmark::State& state) {
  const auto in = randomValues<std::int32_t>(state.range(0));
  auto exponents = randomValues<std::int32_t>(state.range(0));
  for (auto& exponent : exponents) exponent &= 31;
  std::vector<float> out(in.size());
  for ([[maybe_unused]] auto _ : state) {
    if constexpr (isShift) {
      dequantizeShifts<std::int32_t, float>(in, exponents, 0.7, out);
    } else {
      dequantizeExponents<std::int32_t, float>(in, exponents, 0.7, out);
    }
    benchmark::ClobberMemory();
  }
  countOutput<float>(state);
}
BENCHMARK(adaptive<true>)->Name("adaptiveShifts")->Apply(bothSizes);
BENCHMARK(adaptive<false>)->Name("adaptiveExponents")->Apply(bothSizes);

void idWindow(benchmark::State& state) {
  const auto random = randomValues<std::uint32_t>(state.range(0));
  std::vector<std::int32_t> references(random.size());
  for (std::size_t i = 1; i < references.size(); ++i) {
    references[i] = random[i] % 4 == 0
                        ? 0
                        : static_cast<std::int32_t>(1 + random[i] % std::min<std::size_t>(i, 500));
  }
  const auto newIds = randomValues<std::int32_t>(state.range(0));
  std::vector<std::int32_t> out(references.size());
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(idWindowIsValid<std::int32_t>(references, newIds.size()));
    reconstructIds<std::int32_t>(references, newIds, out);
    benchmark::ClobberMemory();
  }
  countOutput<std::int32_t>(state);
}
BENCHMARK(idWindow)->Apply(bothSizes);

// A million quantised values of a smooth field, stored as the format does: differences, zigzag,
// byte planes of 64 KiB, deflated at the format's level.
struct SmoothStream {
  static constexpr std::size_t kCount = kLarge;
  PlaneChunkGeometry geometry = PlaneChunkGeometry::of(65536, 4, kCount);
  std::vector<std::byte> planes = std::vector<std::byte>(kCount * 4);
  std::vector<std::byte> stream;

  SmoothStream() {
    std::mt19937 generator(7);
    std::normal_distribution<double> noise(0.0, 12.0);
    std::vector<std::uint32_t> stored(kCount);
    std::int32_t before = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
      const double x = static_cast<double>(i);
      const auto value = static_cast<std::int32_t>(1e5 * std::sin(x * 1e-3) +
                                                   3e4 * std::sin(x * 7e-3) + noise(generator));
      const std::int32_t step = value - before;
      before = value;
      stored[i] = (static_cast<std::uint32_t>(step) << 1) ^ (step < 0 ? ~0u : 0u);
    }
    const auto perChunk = static_cast<std::size_t>(geometry.valuesPerChunk);
    for (std::size_t at = 0; at < kCount; at += perChunk) {
      const std::size_t n = std::min(perChunk, kCount - at);
      for (std::size_t p = 0; p < 4; ++p) {
        for (std::size_t i = 0; i < n; ++i) {
          planes[at * 4 + p * n + i] = static_cast<std::byte>(stored[at + i] >> (8 * p));
        }
      }
    }
    stream.resize(planes.size() + 1000000);
    DeflateStream deflater;
    z_stream& z = deflater.get();
    z.next_out = reinterpret_cast<Bytef*>(stream.data());
    z.avail_out = static_cast<uInt>(stream.size());
    for (std::size_t at = 0; at < planes.size(); at += geometry.chunkBytes) {
      z.next_in = reinterpret_cast<Bytef*>(planes.data() + at);
      z.avail_in =
          static_cast<uInt>(std::min<std::size_t>(geometry.chunkBytes, planes.size() - at));
      ::deflate(&z, Z_SYNC_FLUSH);
    }
    ::deflate(&z, Z_FINISH);
    stream.resize(stream.size() - z.avail_out);
  }
};

const SmoothStream& smoothStream() {
  static const SmoothStream stream;
  return stream;
}

void smoothInflateAlone(benchmark::State& state) {
  const SmoothStream& smooth = smoothStream();
  std::vector<std::byte> swap(smooth.geometry.chunkBytes);
  for ([[maybe_unused]] auto _ : state) {
    InflateStream inflater;
    z_stream& z = inflater.get();
    z.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(smooth.stream.data()));
    z.avail_in = static_cast<uInt>(smooth.stream.size());
    int code = Z_OK;
    while (code == Z_OK) {
      z.next_out = reinterpret_cast<Bytef*>(swap.data());
      z.avail_out = static_cast<uInt>(swap.size());
      code = ::inflate(&z, Z_NO_FLUSH);
    }
    if (code != Z_STREAM_END || z.total_out != smooth.planes.size()) {
      state.SkipWithError("stream is damaged");
    }
    benchmark::ClobberMemory();
  }
  state.counters["ratio"] =
      static_cast<double>(smooth.planes.size()) / static_cast<double>(smooth.stream.size());
  countOutput<std::int32_t>(state);
}
BENCHMARK(smoothInflateAlone)->Arg(kLarge)->Unit(benchmark::kMicrosecond);

void smoothPlanesAlone(benchmark::State& state) {
  const SmoothStream& smooth = smoothStream();
  std::vector<std::uint32_t> out(SmoothStream::kCount);
  for ([[maybe_unused]] auto _ : state) {
    std::uint32_t carry = 0;
    const auto step = static_cast<std::size_t>(smooth.geometry.valuesPerChunk);
    for (std::size_t at = 0; at < out.size(); at += step) {
      const std::size_t n = std::min(step, out.size() - at);
      carry = composePlanesZigzagSum<std::uint32_t>(std::span(smooth.planes).subspan(at * 4, n * 4),
                                                    std::span(out).subspan(at, n), carry);
    }
    benchmark::DoNotOptimize(carry);
    benchmark::ClobberMemory();
  }
  countOutput<std::int32_t>(state);
}
BENCHMARK(smoothPlanesAlone)->Arg(kLarge)->Unit(benchmark::kMicrosecond);

class SumComposer final : public PlaneSink {
 public:
  explicit SumComposer(std::span<std::uint32_t> values) : values_(values) {}
  void take(std::uint64_t position, std::span<const std::byte> planes) noexcept override {
    const auto values = values_.subspan(position / 4, planes.size() / 4);
    sum_ = composePlanesZigzagSum<std::uint32_t>(planes, values, position == 0 ? 0 : sum_);
  }

 private:
  std::span<std::uint32_t> values_;
  std::uint32_t sum_ = 0;
};

void smoothWholeDecode(benchmark::State& state) {
  const SmoothStream& smooth = smoothStream();
  std::vector<std::byte> swap(smooth.geometry.workBytes);
  std::vector<std::uint32_t> out(SmoothStream::kCount);
  for ([[maybe_unused]] auto _ : state) {
    StreamInput input(smooth.stream);
    SumComposer composer(out);
    PlaneJob job{&input, swap, smooth.geometry, &composer};
    decodePlaneChunks(job);
    const InflateResult result = job.result;
    if (!result.ok || result.decodedBytes != smooth.planes.size()) {
      state.SkipWithError("decoding failed");
    }
    benchmark::ClobberMemory();
  }
  countOutput<std::int32_t>(state);
}
BENCHMARK(smoothWholeDecode)->Arg(kLarge)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();

#include "procedures/kernels/sums.hpp"

#include <cstddef>
#include <cstring>
#include <limits>
#include <tuple>
#include <type_traits>

#include "procedures/kernels/prefix_sum.hpp"

// clang-format off
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "procedures/kernels/sums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#ifndef MORVEX_KERNELS_SUMS_ONCE
#define MORVEX_KERNELS_SUMS_ONCE
namespace Kelbor::MathModule::Kernels {

template <class T>
struct VectorSumFunctions {
  void (*plain)(const T* in, const T* reference, T* out, std::size_t count);
  void (*mean)(const T* in, const T* first, const T* second, T* out, std::size_t count);
};

/// Adds to each value, from value `distance` on, the one `distance` positions before it.
template <class U>
using DistantSumFunction = void (*)(const U* in, U* out, std::size_t count, std::size_t distance);

using VectorSumTable =
    std::tuple<VectorSumFunctions<std::int8_t>, VectorSumFunctions<std::uint8_t>,
               VectorSumFunctions<std::int32_t>, VectorSumFunctions<std::uint32_t>,
               VectorSumFunctions<std::int64_t>, VectorSumFunctions<std::uint64_t>>;
using DistantSumTable =
    std::tuple<DistantSumFunction<std::uint8_t>, DistantSumFunction<std::uint16_t>,
               DistantSumFunction<std::uint32_t>, DistantSumFunction<std::uint64_t>>;

template <class T>
constexpr T wrappingAdd(T a, T b) noexcept {
  using U = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<U>(static_cast<U>(a) + static_cast<U>(b)));
}

template <class T>
constexpr T meanOf(T a, T b) noexcept {
  if constexpr (sizeof(T) == 1) {
    return static_cast<T>((int{a} + int{b}) >> 1);
  } else {
    return static_cast<T>(wrappingAdd(a, b) >> 1);
  }
}

}  // namespace Kelbor::MathModule::Kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
template <class D, class V>
HWY_INLINE V meanOfLanes(D, V a, V b) {
  using T = hn::TFromD<D>;
  if constexpr (sizeof(T) == 1) {
    // The mean without a ninth bit: a + b = 2 * (a & b) + (a ^ b).
    return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
  } else {
    return hn::ShiftRight<1>(hn::Add(a, b));
  }
}
#endif

template <class T>
void addReference(const T* in, const T* reference, T* out, std::size_t count) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<T> d;
  const std::size_t lanes = hn::Lanes(d);
  for (; count - i >= lanes; i += lanes) {
    hn::StoreU(hn::Add(hn::LoadU(d, in + i), hn::LoadU(d, reference + i)), d, out + i);
  }
#endif
  for (; i < count; ++i) out[i] = wrappingAdd(in[i], reference[i]);
}

template <class T>
void addMean(const T* in, const T* first, const T* second, T* out, std::size_t count) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<T> d;
  const std::size_t lanes = hn::Lanes(d);
  for (; count - i >= lanes; i += lanes) {
    const auto mean = meanOfLanes(d, hn::LoadU(d, first + i), hn::LoadU(d, second + i));
    hn::StoreU(hn::Add(hn::LoadU(d, in + i), mean), d, out + i);
  }
#endif
  for (; i < count; ++i) out[i] = wrappingAdd(in[i], meanOf(first[i], second[i]));
}

template <class U>
void addDistant(const U* in, U* out, std::size_t count, std::size_t distance) {
  std::size_t i = distance;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<U> d;
  const std::size_t lanes = hn::Lanes(d);
  // From this distance on, a vector only reads back what earlier vectors have written.
  if (distance >= lanes) {
    for (; count - i >= lanes; i += lanes) {
      hn::StoreU(hn::Add(hn::LoadU(d, in + i), hn::LoadU(d, out + i - distance)), d, out + i);
    }
  }
#endif
  for (; i < count; ++i) out[i] = wrappingAdd(in[i], out[i - distance]);
}

template <class T>
constexpr VectorSumFunctions<T> kVectorSums = {&addReference<T>, &addMean<T>};

const VectorSumTable& vectorSumTable() {
  static constexpr VectorSumTable kTable{kVectorSums<std::int8_t>,  kVectorSums<std::uint8_t>,
                                         kVectorSums<std::int32_t>, kVectorSums<std::uint32_t>,
                                         kVectorSums<std::int64_t>, kVectorSums<std::uint64_t>};
  return kTable;
}

const DistantSumTable& distantSumTable() {
  static constexpr DistantSumTable kTable{&addDistant<std::uint8_t>, &addDistant<std::uint16_t>,
                                          &addDistant<std::uint32_t>, &addDistant<std::uint64_t>};
  return kTable;
}

}  // namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Kelbor::MathModule::Kernels {
namespace {

HWY_EXPORT(vectorSumTable);
HWY_EXPORT(distantSumTable);

template <class T>
void copyIfApart(const T* in, T* out, std::size_t count) noexcept {
  if (in != out && count != 0) std::memcpy(out, in, count * sizeof(T));
}

}  // namespace

template <class U>
void offsetSums(std::span<const U> in, std::span<U> out, std::uint64_t numberOfBlocks) noexcept {
  if (out.empty()) return;
  const std::size_t blockSize = out.size() / static_cast<std::size_t>(numberOfBlocks);
  if (blockSize == 1) {
    prefixSum<U>(in, out, U{0});
    return;
  }
  copyIfApart(in.data(), out.data(), blockSize);
  std::get<DistantSumFunction<U>>(HWY_DYNAMIC_DISPATCH(distantSumTable)())(in.data(), out.data(),
                                                                           out.size(), blockSize);
}

template <class T>
void vectorSums(std::span<const T> in, std::span<const T> reference, std::span<T> out) noexcept {
  std::get<VectorSumFunctions<T>>(HWY_DYNAMIC_DISPATCH(vectorSumTable)())
      .plain(in.data(), reference.data(), out.data(), out.size());
}

template <class T>
void vectorSums(std::span<const T> in, std::span<const T> first, std::span<const T> second,
                std::span<T> out) noexcept {
  std::get<VectorSumFunctions<T>>(HWY_DYNAMIC_DISPATCH(vectorSumTable)())
      .mean(in.data(), first.data(), second.data(), out.data(), out.size());
}

bool checkTree(std::span<const std::int32_t> edges, std::span<const std::uint64_t> treeStarts,
               std::uint64_t numberOfNodes) noexcept {
  if (treeStarts.empty()) return true;
  const std::uint64_t edgeCount = edges.size() / 2;
  if (edgeCount > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) return false;
  bool inside = true;
  for (const std::uint64_t start : treeStarts) inside &= start < edgeCount;
  // The edge ranges of the trees cover edge 0 to the last without a gap, whatever the starts, so
  // every edge is checked. Negative nodes are large unsigned ones.
  for (const std::int32_t node : edges.first(2 * static_cast<std::size_t>(edgeCount))) {
    inside &= node >= 0 && static_cast<std::uint64_t>(node) < numberOfNodes;
  }
  return inside;
}

template <class U>
void treeSums(std::span<const U> in, std::span<const std::int32_t> edges,
              std::span<const std::uint64_t> treeStarts, std::span<U> out) noexcept {
  copyIfApart(in.data(), out.data(), out.size());
  const std::size_t edgeCount = edges.size() / 2;
  const auto parentOf = [edges](std::size_t edge) {
    return static_cast<std::size_t>(edges[2 * edge]);
  };
  std::size_t start = 0;
  for (std::size_t k = 0; k < treeStarts.size(); ++k) {
    const std::size_t root = parentOf(static_cast<std::size_t>(treeStarts[k]));
    out[root] = in[root];
    const std::size_t end =
        k + 1 < treeStarts.size() ? static_cast<std::size_t>(treeStarts[k + 1]) : edgeCount;
    for (std::size_t edge = start; edge < end; ++edge) {
      const auto child = static_cast<std::size_t>(edges[2 * edge + 1]);
      out[child] = static_cast<U>(in[child] + out[parentOf(edge)]);
    }
    start = end;
  }
}

template void offsetSums(std::span<const std::uint8_t>, std::span<std::uint8_t>,
                         std::uint64_t) noexcept;
template void offsetSums(std::span<const std::uint16_t>, std::span<std::uint16_t>,
                         std::uint64_t) noexcept;
template void offsetSums(std::span<const std::uint32_t>, std::span<std::uint32_t>,
                         std::uint64_t) noexcept;
template void offsetSums(std::span<const std::uint64_t>, std::span<std::uint64_t>,
                         std::uint64_t) noexcept;

template <class T>
using In = std::span<const T>;

template void vectorSums(In<std::int8_t>, In<std::int8_t>, std::span<std::int8_t>) noexcept;
template void vectorSums(In<std::uint8_t>, In<std::uint8_t>, std::span<std::uint8_t>) noexcept;
template void vectorSums(In<std::int32_t>, In<std::int32_t>, std::span<std::int32_t>) noexcept;
template void vectorSums(In<std::uint32_t>, In<std::uint32_t>, std::span<std::uint32_t>) noexcept;
template void vectorSums(In<std::int64_t>, In<std::int64_t>, std::span<std::int64_t>) noexcept;
template void vectorSums(In<std::uint64_t>, In<std::uint64_t>, std::span<std::uint64_t>) noexcept;

template void vectorSums(In<std::int8_t>, In<std::int8_t>, In<std::int8_t>,
                         std::span<std::int8_t>) noexcept;
template void vectorSums(In<std::uint8_t>, In<std::uint8_t>, In<std::uint8_t>,
                         std::span<std::uint8_t>) noexcept;
template void vectorSums(In<std::int32_t>, In<std::int32_t>, In<std::int32_t>,
                         std::span<std::int32_t>) noexcept;
template void vectorSums(In<std::uint32_t>, In<std::uint32_t>, In<std::uint32_t>,
                         std::span<std::uint32_t>) noexcept;
template void vectorSums(In<std::int64_t>, In<std::int64_t>, In<std::int64_t>,
                         std::span<std::int64_t>) noexcept;
template void vectorSums(In<std::uint64_t>, In<std::uint64_t>, In<std::uint64_t>,
                         std::span<std::uint64_t>) noexcept;

template void treeSums(In<std::uint8_t>, In<std::int32_t>, In<std::uint64_t>,
                       std::span<std::uint8_t>) noexcept;
template void treeSums(In<std::uint32_t>, In<std::int32_t>, In<std::uint64_t>,
                       std::span<std::uint32_t>) noexcept;
template void treeSums(In<std::uint64_t>, In<std::int32_t>, In<std::uint64_t>,
                       std::span<std::uint64_t>) noexcept;

}  // namespace Kelbor::MathModule::Kernels
#endif  // HWY_ONCE

// Included once per instruction set by the kernels that scan; the guard follows Highway's repeated
// inclusion.
#if defined(MORVEX_KERNELS_LANE_SCAN_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef MORVEX_KERNELS_LANE_SCAN_INL
#undef MORVEX_KERNELS_LANE_SCAN_INL
#else
#define MORVEX_KERNELS_LANE_SCAN_INL
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// Vectors have one or two blocks of 16 bytes, and shuffles are cheap only within a block. So a
// group of K vectors is kept "block-wise": its values, in order, are the first blocks of v[0] to
// v[K-1], then the second blocks of v[0] to v[K-1]. Both columns of blocks are scanned at once.

constexpr std::size_t kBlockBytes = 16;

template <class U>
using LaneTag = hn::CappedTag<U, 2 * kBlockBytes / sizeof(U)>;

template <class D>
constexpr bool kTwoBlocks = hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 2 * kBlockBytes;

/// Loads K * lanes consecutive values as a block-wise group.
template <class D, std::size_t K, class V>
HWY_INLINE void loadGroup(D d, const hn::TFromD<D>* from, V (&v)[K]) {
  constexpr std::size_t kLanes = hn::MaxLanes(D());
  if constexpr (kTwoBlocks<D>) {
    for (std::size_t j = 0; j < K / 2; ++j) {
      const auto low = hn::LoadU(d, from + j * kLanes);
      const auto high = hn::LoadU(d, from + (j + K / 2) * kLanes);
      v[2 * j] = hn::ConcatLowerLower(d, high, low);
      v[2 * j + 1] = hn::ConcatUpperUpper(d, high, low);
    }
  } else {
    for (std::size_t j = 0; j < K; ++j) v[j] = hn::LoadU(d, from + j * kLanes);
  }
}

/// The inverse of loadGroup.
template <class D, std::size_t K, class V>
HWY_INLINE void storeGroup(D d, const V (&v)[K], hn::TFromD<D>* to) {
  constexpr std::size_t kLanes = hn::MaxLanes(D());
  if constexpr (kTwoBlocks<D>) {
    for (std::size_t j = 0; j < K / 2; ++j) {
      hn::StoreU(hn::ConcatLowerLower(d, v[2 * j + 1], v[2 * j]), d, to + j * kLanes);
      hn::StoreU(hn::ConcatUpperUpper(d, v[2 * j + 1], v[2 * j]), d, to + (j + K / 2) * kLanes);
    }
  } else {
    for (std::size_t j = 0; j < K; ++j) hn::StoreU(v[j], d, to + j * kLanes);
  }
}

/// Running sum within each block.
template <class D, class V>
HWY_INLINE V scanBlocks(D d, V v) {
  constexpr std::size_t kPerBlock = kBlockBytes / sizeof(hn::TFromD<D>);
  v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
  if constexpr (kPerBlock > 2) v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
  if constexpr (kPerBlock > 4) v = hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
  if constexpr (kPerBlock > 8) v = hn::Add(v, hn::ShiftLeftLanes<8>(d, v));
  return v;
}

/// Broadcasts the last lane of each block to all lanes of the block.
template <class D, class V>
HWY_INLINE V lastOfBlocks(D d, V v) {
  constexpr std::size_t kSize = sizeof(hn::TFromD<D>);
  alignas(kBlockBytes) std::uint8_t indices[kBlockBytes];
  for (std::size_t i = 0; i < kBlockBytes; ++i) {
    indices[i] = static_cast<std::uint8_t>(kBlockBytes - kSize + i % kSize);
  }
  const hn::Repartition<std::uint8_t, D> d8;
  return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, v), hn::LoadDup128(d8, indices)));
}

/// Running sum over a block-wise group, starting at `carry` (the same number in all lanes), which
/// is set to the last sum. Only one addition per group depends on the previous group.
template <class D, std::size_t K, class V>
HWY_INLINE void scanGroup(D d, V (&v)[K], V& carry) {
  v[0] = scanBlocks(d, v[0]);
  for (std::size_t j = 1; j < K; ++j) {
    v[j] = hn::Add(scanBlocks(d, v[j]), lastOfBlocks(d, v[j - 1]));
  }
  V total = lastOfBlocks(d, v[K - 1]);
  V before = carry;
  if constexpr (kTwoBlocks<D>) {
    before = hn::Add(before, hn::ConcatLowerLower(d, total, hn::Zero(d)));
    total = hn::Add(total, hn::SwapAdjacentBlocks(total));
  }
  carry = hn::Add(carry, total);
  for (std::size_t j = 0; j < K; ++j) v[j] = hn::Add(v[j], before);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace Kelbor::MathModule::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

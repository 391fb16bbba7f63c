#include "procedures/kernels/sums.hpp"

#include <initializer_list>
#include <numeric>

#include "kernel_test_support.hpp"
#include "procedures/kernels/prefix_sum.hpp"
#include "procedures/kernels/unsigned_view.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Testing::kSizes;
using Testing::onEveryTarget;
using Testing::randomValues;
using Testing::sameBits;

template <class U>
class RunningSums : public testing::Test {};
using UnsignedWidths = testing::Types<std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(RunningSums, UnsignedWidths);

TYPED_TEST(RunningSums, PrefixSumEqualsTheRecurrenceInPlaceAndApart) {
  using U = TypeParam;
  constexpr U kCarry = 201;
  for (const std::size_t count : kSizes) {
    const std::vector<U> in = randomValues<U>(count, 1);
    std::vector<U> expected(count);
    U last = kCarry;
    for (std::size_t i = 0; i < count; ++i) expected[i] = last = static_cast<U>(last + in[i]);
    onEveryTarget([&] {
      std::vector<U> apart(count);
      EXPECT_EQ(prefixSum<U>(in, apart, kCarry), last);
      EXPECT_TRUE(sameBits(apart, expected));
      // Not at the start of its block: values may stand at any element.
      std::vector<U> block(1, U{7});
      block.insert(block.end(), in.begin(), in.end());
      const std::span<U> inPlace = std::span(block).subspan(1);
      EXPECT_EQ(prefixSum<U>(inPlace, inPlace, kCarry), last);
      EXPECT_TRUE(sameBits<U>(inPlace, expected));
      EXPECT_EQ(block.front(), U{7});
    });
  }
}

TYPED_TEST(RunningSums, OffsetSumsAddTheBlockBefore) {
  using U = TypeParam;
  for (const std::size_t blockSize :
       std::initializer_list<std::size_t>{1, 2, 3, 7, 8, 15, 16, 17, 31, 32, 33, 65, 1000}) {
    for (const std::size_t blocks : std::initializer_list<std::size_t>{1, 2, 3, 40}) {
      const std::vector<U> in = randomValues<U>(blockSize * blocks, 3);
      std::vector<U> expected = in;
      for (std::size_t b = 1; b < blocks; ++b) {
        for (std::size_t j = 0; j < blockSize; ++j) {
          U& sum = expected[b * blockSize + j];
          sum = static_cast<U>(sum + expected[(b - 1) * blockSize + j]);
        }
      }
      onEveryTarget([&] {
        std::vector<U> apart(in.size());
        offsetSums<U>(in, apart, blocks);
        EXPECT_TRUE(sameBits(apart, expected)) << blockSize << " x " << blocks;
        std::vector<U> inPlace = in;
        offsetSums<U>(inPlace, inPlace, blocks);
        EXPECT_TRUE(sameBits(inPlace, expected)) << blockSize << " x " << blocks;
      });
    }
  }
  std::vector<U> none;
  offsetSums<U>(none, none, 5);
}

template <class T>
T added(T a, T b) {
  T sum;
  static_cast<void>(__builtin_add_overflow(a, b, &sum));
  return sum;
}

/// Rounds down by division, so that no shift of the kernel is repeated here.
template <class T>
T meanNaively(T a, T b) {
  if constexpr (sizeof(T) == 1) {
    const int sum = int{a} + int{b};
    return static_cast<T>((sum - (sum % 2 != 0 && sum < 0 ? 1 : 0)) / 2);
  } else {
    const T sum = added(a, b);
    return static_cast<T>(sum / 2 - (sum < 0 && sum % 2 != 0 ? 1 : 0));
  }
}

template <class T>
class VectorSums : public testing::Test {};
using VectorSumTypes = testing::Types<std::int8_t, std::uint8_t, std::int32_t, std::uint32_t,
                                      std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(VectorSums, VectorSumTypes);

TYPED_TEST(VectorSums, EqualTheNaiveTwinInPlaceAndApart) {
  using T = TypeParam;
  for (const std::size_t count : kSizes) {
    const std::vector<T> in = randomValues<T>(count, 4);
    const std::vector<T> first = randomValues<T>(count, 5);
    const std::vector<T> second = randomValues<T>(count, 6);
    std::vector<T> one(count);
    std::vector<T> two(count);
    for (std::size_t i = 0; i < count; ++i) {
      one[i] = added(in[i], first[i]);
      two[i] = added(in[i], meanNaively(first[i], second[i]));
    }
    onEveryTarget([&] {
      std::vector<T> out(count);
      vectorSums<T>(in, first, out);
      EXPECT_TRUE(sameBits(out, one));
      vectorSums<T>(in, first, second, out);
      EXPECT_TRUE(sameBits(out, two));
      out = in;
      vectorSums<T>(out, first, out);
      EXPECT_TRUE(sameBits(out, one));
      out = in;
      vectorSums<T>(out, first, second, out);
      EXPECT_TRUE(sameBits(out, two));
    });
  }
}

// Two trees: 4 -> 0, 4 -> 2, 2 -> 1 and 5 -> 3; node 6 belongs to none.
const std::vector<std::int32_t> kEdges = {4, 0, 4, 2, 2, 1, 5, 3};
const std::vector<std::uint64_t> kStarts = {0, 3};

template <class U>
class TreeSums : public testing::Test {};
using TreeWidths = testing::Types<std::uint8_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(TreeSums, TreeWidths);

TYPED_TEST(TreeSums, EachNodeAddsItsParent) {
  using U = TypeParam;
  const std::vector<U> in = {1, 2, 4, 8, 250, 32, 64};
  const std::vector<U> expected = {
      static_cast<U>(251), static_cast<U>(256), static_cast<U>(254), 40, 250, 32, 64};
  ASSERT_TRUE(checkTree(kEdges, kStarts, in.size()));
  std::vector<U> apart(in.size());
  treeSums<U>(in, kEdges, kStarts, apart);
  EXPECT_EQ(apart, expected);
  std::vector<U> inPlace = in;
  treeSums<U>(inPlace, kEdges, kStarts, inPlace);
  EXPECT_EQ(inPlace, expected);
}

TEST(TreeCheck, RefusesWhatWouldLeaveTheArrays) {
  using Edges = std::vector<std::int32_t>;
  using Starts = std::vector<std::uint64_t>;
  EXPECT_TRUE(checkTree(kEdges, kStarts, 6));
  EXPECT_TRUE(checkTree(Edges{-5, 99}, {}, 2)) << "edges of no tree";
  EXPECT_FALSE(checkTree(kEdges, kStarts, 5)) << "parent behind the nodes";
  EXPECT_FALSE(checkTree(Edges{0, 3}, Starts{0}, 3)) << "child behind the nodes";
  EXPECT_FALSE(checkTree(Edges{0, -1}, Starts{0}, 3));
  EXPECT_FALSE(checkTree(Edges{0, 1}, Starts{1}, 3)) << "tree behind the edges";
  EXPECT_FALSE(checkTree(Edges{0, 1}, Starts{std::uint64_t{1} << 32}, 3));
  EXPECT_FALSE(checkTree(Edges{}, Starts{0}, 3)) << "a tree has a root edge";
  EXPECT_TRUE(checkTree(Edges{0, 1, 77}, Starts{0}, 3)) << "half an edge is not read";
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels

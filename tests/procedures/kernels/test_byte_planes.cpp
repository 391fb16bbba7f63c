#include "kernel_test_support.hpp"
#include "procedures/kernels/byte_planes.hpp"
#include "procedures/kernels/zigzag.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Testing::kSizes;
using Testing::onEveryTarget;
using Testing::randomBytes;
using Testing::sameBits;

template <class U>
std::vector<U> composedNaively(std::span<const std::byte> planes) {
  const std::size_t count = planes.size() / sizeof(U);
  std::vector<U> values(count, 0);
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t p = sizeof(U); p-- > 0;) {
      values[i] = static_cast<U>(std::uint64_t{values[i]} << 8 |
                                 std::to_integer<std::uint64_t>(planes[p * count + i]));
    }
  }
  return values;
}

/// The mapping as it is told: halve, and negate one more than the half where odd.
template <class U>
U zigzagNaively(U value) {
  const U half = static_cast<U>(value / 2);
  return value % 2 == 0 ? half : static_cast<U>(0u - (std::uint64_t{half} + 1));
}

template <class U>
class BytePlanes : public testing::Test {};
using Widths = testing::Types<std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(BytePlanes, Widths);

TYPED_TEST(BytePlanes, EqualTheNaiveTwinOnEveryTargetAndSize) {
  using U = TypeParam;
  constexpr U kCarry = static_cast<U>(0xFEDCBA9876543210u);
  for (const std::size_t count : kSizes) {
    const std::vector<std::byte> planes = randomBytes(count * sizeof(U), 1);
    const std::vector<U> plain = composedNaively<U>(planes);
    std::vector<U> zigzag = plain;
    for (U& value : zigzag) value = zigzagNaively(value);
    std::vector<U> sums = zigzag;
    U last = kCarry;
    for (U& value : sums) value = last = static_cast<U>(value + last);

    onEveryTarget([&] {
      std::vector<U> values(count);
      composePlanes<U>(planes, values);
      EXPECT_TRUE(sameBits(values, plain));
      composePlanesZigzag<U>(planes, values);
      EXPECT_TRUE(sameBits(values, zigzag));
      EXPECT_EQ(composePlanesZigzagSum<U>(planes, values, kCarry), last);
      EXPECT_TRUE(sameBits(values, sums));
    });
  }
}

TYPED_TEST(BytePlanes, MayStandAtAnyAddress) {
  using U = TypeParam;
  constexpr std::size_t kCount = 203;
  for (std::size_t shift = 1; shift < 4; ++shift) {
    const std::vector<std::byte> block = randomBytes(shift + kCount * sizeof(U), 2);
    const std::span<const std::byte> planes = std::span(block).subspan(shift);
    const std::vector<U> expected = composedNaively<U>(planes);
    onEveryTarget([&] {
      std::vector<U> values(shift + kCount, U{7});
      composePlanes<U>(planes, std::span(values).subspan(shift));
      EXPECT_TRUE(sameBits<U>(std::span<const U>(values).subspan(shift), expected));
      EXPECT_EQ(values[shift - 1], U{7});
    });
  }
}

TYPED_TEST(BytePlanes, SumsOfPiecesContinueEachOther) {
  using U = TypeParam;
  const std::vector<std::byte> first = randomBytes(1000 * sizeof(U), 3);
  const std::vector<std::byte> second = randomBytes(37 * sizeof(U), 4);
  onEveryTarget([&] {
    std::vector<U> head(1000);
    std::vector<U> tail(37);
    const U carry = composePlanesZigzagSum<U>(first, head, U{0});
    EXPECT_EQ(carry, head.back());
    EXPECT_EQ(composePlanesZigzagSum<U>(second, tail, carry), tail.back());
    const std::vector<U> numbers = composedNaively<U>(second);
    EXPECT_EQ(tail.front(), static_cast<U>(head.back() + zigzagNaively(numbers.front())));
  });
}

TYPED_TEST(BytePlanes, ZigzagAlternatesAroundZero) {
  using U = TypeParam;
  constexpr U kMost = static_cast<U>(~U{0});
  constexpr U kLowest = static_cast<U>(U{1} << (8 * sizeof(U) - 1));
  std::vector<U> values = {0, 1, 2, 3, 4, static_cast<U>(kMost - 1), kMost};
  undoZigzag(std::span(values));
  EXPECT_EQ(values, (std::vector<U>{0, kMost, 1, static_cast<U>(kMost - 1), 2,
                                    static_cast<U>(kLowest - 1), kLowest}));
}

TEST(SimdTargets, EndWithThePathThatEveryMachineRuns) {
  const std::vector<SimdTarget> targets = simdTargets();
  ASSERT_FALSE(targets.empty());
  for (std::size_t i = 1; i < targets.size(); ++i) EXPECT_LT(targets[i - 1].bit, targets[i].bit);
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels

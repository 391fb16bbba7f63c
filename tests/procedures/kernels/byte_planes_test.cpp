#include "procedures/kernels/byte_planes.hpp"

#include "kernel_test_support.hpp"

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

TYPED_TEST(BytePlanes, EqualTheNaiveTwinAtAnyAddress) {
  using U = TypeParam;
  constexpr U kCarry = static_cast<U>(0xFEDCBA9876543210u);
  for (const std::size_t count : kSizes) {
    const std::vector<std::byte> stored = randomBytes(1 + count * sizeof(U), 1);
    const std::span<const std::byte> planes = std::span(stored).subspan(1);
    const std::vector<U> plain = composedNaively<U>(planes);
    std::vector<U> zigzag = plain;
    for (U& value : zigzag) value = zigzagNaively(value);
    std::vector<U> sums = zigzag;
    U last = kCarry;
    for (U& value : sums) value = last = static_cast<U>(value + last);

    onEveryTarget([&] {
      // Not at the start of its block: values may stand at any element.
      std::vector<U> block(1 + count, U{7});
      const std::span<U> values = std::span(block).subspan(1);
      composePlanes<U>(planes, values);
      EXPECT_TRUE(sameBits<U>(values, plain));
      composePlanesZigzag<U>(planes, values);
      EXPECT_TRUE(sameBits<U>(values, zigzag));
      EXPECT_EQ(composePlanesZigzagSum<U>(planes, values, kCarry), last);
      EXPECT_TRUE(sameBits<U>(values, sums));
      EXPECT_EQ(block.front(), U{7});
    });
  }
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels

#include "procedures/kernels/dequantize.hpp"

#include <cmath>
#include <limits>

#include "kernel_test_support.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

using Testing::kSizes;
using Testing::onEveryTarget;
using Testing::randomValues;
using Testing::sameBits;

template <class In, class Out>
struct Pair {
  using Input = In;
  using Output = Out;
};

template <class P>
class Dequantize : public testing::Test {};
using Pairs = testing::Types<Pair<std::int32_t, float>, Pair<std::int64_t, double>,
                             Pair<std::int64_t, float>>;
TYPED_TEST_SUITE(Dequantize, Pairs);

/// Random numbers of all magnitudes, led by those whose conversion needs rounding or has no slack.
template <class In>
std::vector<In> quantised(std::size_t count) {
  std::vector<In> values = randomValues<In>(count, 1);
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = static_cast<In>(values[i] >> (i * 7 % (8 * sizeof(In))));
  }
  constexpr std::int64_t kExact = std::int64_t{1} << 53;
  const std::int64_t special[] = {0,
                                  -1,
                                  std::numeric_limits<In>::min(),
                                  std::numeric_limits<In>::max(),
                                  kExact + 1,
                                  kExact + 3,
                                  -kExact - 1,
                                  (std::int64_t{1} << 32) - 1,
                                  -(std::int64_t{1} << 32),
                                  std::numeric_limits<std::int64_t>::max() - 511};
  for (std::size_t i = 0; i < std::min(count, std::size(special)); ++i) {
    values[count - 1 - i] = static_cast<In>(special[i]);
    if (count > 40) values[i] = static_cast<In>(special[i]);
  }
  return values;
}

/// Compares a kernel with its naive twin, which makes the value at a place, on every target: apart
/// and, where widths agree, in place.
template <class Out, class In, class Twin, class Kernel>
void expectAsTwin(const std::vector<In>& in, Twin twin, Kernel kernel) {
  std::vector<Out> expected(in.size());
  for (std::size_t i = 0; i < in.size(); ++i) expected[i] = static_cast<Out>(twin(i));
  onEveryTarget([&] {
    std::vector<Out> apart(in.size());
    kernel(std::span<const In>(in), std::span<Out>(apart));
    EXPECT_TRUE(sameBits(apart, expected));
    if constexpr (sizeof(In) == sizeof(Out)) {
      std::vector<Out> memory(in.size());
      if (!in.empty()) std::memcpy(memory.data(), in.data(), in.size() * sizeof(In));
      kernel(std::span<const In>(reinterpret_cast<const In*>(memory.data()), memory.size()),
             std::span<Out>(memory));
      EXPECT_TRUE(sameBits(memory, expected));
    }
  });
}

TYPED_TEST(Dequantize, UniformStepEqualsTheNaiveTwin) {
  using In = typename TypeParam::Input;
  using Out = typename TypeParam::Output;
  for (const double quantum : {1.0, 0.001, 1.0 / 3.0, 6.02214076e23, 1e-300}) {
    for (const std::size_t count : kSizes) {
      const std::vector<In> in = quantised<In>(count);
      const auto twin = [&](std::size_t i) {
        const volatile double product = static_cast<double>(in[i]) * quantum;
        return product;
      };
      expectAsTwin<Out>(in, twin, [&](std::span<const In> from, std::span<Out> to) {
        dequantizeUniform(from, to, quantum);
      });
    }
  }
}

TYPED_TEST(Dequantize, ShiftsDivideTheScaleFirst) {
  using In = typename TypeParam::Input;
  using Out = typename TypeParam::Output;
  constexpr double kScale = 0.7;
  const std::vector<In> in = quantised<In>(1003);
  const std::vector<std::int32_t> exponents = randomValues<std::int32_t>(1003, 2);
  const auto twin = [&](std::size_t i) {
    // Modulo 32, and the sign bit gives a negative step.
    const auto power = static_cast<std::int32_t>(
        std::uint32_t{1} << (static_cast<std::uint32_t>(exponents[i]) % 32));
    const volatile double step = kScale / static_cast<double>(power);
    return step * static_cast<double>(in[i]);
  };
  expectAsTwin<Out>(in, twin, [&](std::span<const In> from, std::span<Out> to) {
    dequantizeShifts(from, exponents, kScale, to);
  });
}

TYPED_TEST(Dequantize, ExponentsAreExactPowersOfTwoToTheEndsOfTheRange) {
  using In = typename TypeParam::Input;
  using Out = typename TypeParam::Output;
  constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
  std::vector<std::int32_t> exponents = {kLeast, kLeast + 1, kMost, kMost - 1};
  for (std::int32_t e = -1110; e <= 1110; ++e) exponents.push_back(e);
  for (const double scale : {1.0, 0.1, 3e-320, 1e300}) {
    std::vector<In> in = quantised<In>(exponents.size());
    for (In& value : in) value |= 1;  // zero times infinity is told apart below
    const auto twin = [&](std::size_t i) {
      const volatile double scaled = static_cast<double>(in[i]) * scale;
      return scaled * std::exp2(-static_cast<double>(exponents[i]));
    };
    expectAsTwin<Out>(in, twin, [&](std::span<const In> from, std::span<Out> to) {
      dequantizeExponents(from, exponents, scale, to);
    });
  }
  std::vector<Out> out(2);
  dequantizeExponents<In, Out>(std::vector<In>{0, 0}, std::vector<std::int32_t>{-1024, 1075}, 1.0,
                               out);
  EXPECT_TRUE(std::isnan(out[0]));
  EXPECT_EQ(out[1], Out{0});
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels

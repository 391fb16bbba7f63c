#include "procedures/dequantization.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "graph.hpp"

namespace Kelbor::MathModule {
namespace {

class DequantizationTest : public testing::Test {
 protected:
  std::unique_ptr<Dequantization> make(std::uint32_t type, double quantum,
                                       bool forceFloat = false) {
    return std::make_unique<Dequantization>(graph_.context(), type, quantum, 2, forceFloat, 1.0);
  }
  /// A table of exponents with the scale in its last two words.
  static std::vector<std::int32_t> table(std::vector<std::int32_t> exponents, double scale) {
    exponents.resize(exponents.size() + 2);
    std::memcpy(exponents.data() + exponents.size() - 2, &scale, sizeof scale);
    return exponents;
  }

  Graph graph_;
};

TEST_F(DequantizationTest, WidthOfTheIntegersGivesThatOfTheResult) {
  const auto narrow = make(0, 0.1);
  narrow->connectInput(0, graph_.source(std::vector<std::int32_t>{3, -7}));
  EXPECT_EQ(Graph::resultOf<float>(*narrow),
            (std::vector<float>{static_cast<float>(3 * 0.1), static_cast<float>(-7 * 0.1)}));
  const auto wide = make(0, 0.1);
  wide->connectInput(0, graph_.source(std::vector<std::int64_t>{3, 1LL << 60}));
  EXPECT_EQ(Graph::resultOf<double>(*wide),
            (std::vector<double>{3 * 0.1, static_cast<double>(1LL << 60) * 0.1}));
  const auto forced = make(0, 0.1, /*forceFloat=*/true);
  forced->connectInput(0, graph_.source(std::vector<std::int64_t>{3, 4}));
  forced->connectInput(1, graph_.source(std::vector<std::uint64_t>{1}));
  forced->connectInput(2, graph_.source(std::vector<double>{1e300}));
  EXPECT_EQ(Graph::resultOf<float>(*forced),
            (std::vector<float>{static_cast<float>(3 * 0.1), INFINITY}));
}

TEST_F(DequantizationTest, AdaptiveTypesTakeTheirStepsFromTheTable) {
  const std::vector<std::int32_t> integers{3, 5, 7};
  const auto run = [&](std::uint32_t type, const std::vector<std::int32_t>& words) {
    const auto procedure = make(type, -1.0);
    procedure->connectInput(0, graph_.source(integers));
    procedure->connectInput(3, graph_.source(words));
    return Graph::resultOf<float>(*procedure);
  };
  EXPECT_EQ(run(2, table({0, 1, 31}, 0.5)),
            (std::vector<float>{1.5F, 1.25F, static_cast<float>(0.5 / -2147483648.0 * 7)}));
  EXPECT_EQ(run(3, table({-1, 1, 40}, 99.0)),
            (std::vector<float>{6.0F, 2.5F, static_cast<float>(7 * std::ldexp(1.0, -40))}));
  EXPECT_EQ(run(4, table({-1, 1, 2}, 0.5)), (std::vector<float>{3.0F, 1.25F, 0.875F}));

  expectRaised<Exception>(": Empty 4th input provider for type=Adaptive!", [&] { run(2, {}); });
  EXPECT_THROW(run(2, {0}), KelborDataException) << "no room for a scale";
  EXPECT_THROW(run(3, {0, 0}), KelborDataException) << "an exponent is missing";
  EXPECT_THROW(run(4, {0, 0}), KelborDataException) << "an exponent is missing";
}

TEST_F(DequantizationTest, OutliersReplaceValuesInTheirOrder) {
  const auto run = [&](const std::vector<std::uint64_t>& positions,
                       const std::vector<float>& values) {
    const auto procedure = make(0, 1.0);
    procedure->connectInput(0, graph_.source(std::vector<std::int32_t>{1, 2, 3}));
    procedure->connectInput(1, graph_.source(positions));
    procedure->connectInput(2, graph_.source(values));
    return Graph::resultOf<float>(*procedure);
  };
  EXPECT_EQ(run({2, 0, 2}, {0.5F, 0.25F, 0.125F}), (std::vector<float>{0.25F, 2.0F, 0.125F}));
  EXPECT_EQ(run({}, {}), (std::vector<float>{1.0F, 2.0F, 3.0F}));
  EXPECT_THROW(run({3}, {0.5F}), KelborDataException);
  EXPECT_THROW(run({~std::uint64_t{0}}, {0.5F}), KelborDataException);
  EXPECT_THROW(run({0, 1}, {0.5F}), KelborDataException) << "a value is missing";
}

TEST_F(DequantizationTest, RefusesStepsTypesAndSlotsThatMakeNoSense) {
  expectRaised<std::invalid_argument>(": invalid quantum: 0", [&] { make(0, 0.0); });
  expectRaised<std::invalid_argument>(": invalid quantum: -0.5", [&] { make(0, -0.5); });
  EXPECT_NO_THROW(make(0, std::nan("")));
  expectRaised<std::logic_error>(": 4th input provider connected, but Type!=Adaptive!", [&] {
    make(0, 1.0)->connectInput(3, graph_.source(std::vector<std::int32_t>{1}));
  });
  expectRaised<std::runtime_error>(" with non-signed-int input: UInt32", [&] {
    make(0, 1.0)->connectInput(0, graph_.source(std::vector<std::uint32_t>{1}));
  });
  const auto unknown = make(1, 0.0);
  unknown->connectInput(0, graph_.source(std::vector<std::int32_t>{1}));
  expectRaised<std::runtime_error>("Unhandled quantization type!",
                                   [&] { Graph::resultOf<float>(*unknown); });
  EXPECT_NE(make(0, 1.0)->clone(), nullptr);
  EXPECT_EQ(make(3, 1.0)->clone(), nullptr);
}

}  // namespace
}  // namespace Kelbor::MathModule

#include "writer/quantise.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace morvex::Writer {
namespace {

/// Larger words become outliers, so that differences of words never wrap.
constexpr double kLargestWord = 1 << 30;

template <class StepOf>
Quantised quantiseBy(std::span<const float> values, StepOf&& stepOf) {
  Quantised result;
  result.words.reserve(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double word = std::nearbyint(static_cast<double>(values[i]) / stepOf(i));
    if (std::abs(word) <= kLargestWord) {  // false for NaN as well
      result.words.push_back(static_cast<std::int32_t>(word));
    } else {
      result.words.push_back(0);
      result.outlierPositions.push_back(i);
      result.outlierValues.push_back(values[i]);
    }
  }
  return result;
}

}  // namespace

Quantised quantise(std::span<const float> values, double step) {
  return quantiseBy(values, [step](std::size_t) { return step; });
}

Quantised quantise(std::span<const float> values, std::span<const double> steps) {
  return quantiseBy(values, [steps](std::size_t i) { return steps[i]; });
}

std::vector<double> ExponentTable::steps() const {
  std::vector<double> result;
  for (const std::int32_t e : exponents) result.push_back(std::ldexp(scale, -e));
  return result;
}

std::vector<std::int32_t> ExponentTable::words() const {
  std::vector<std::int32_t> result = exponents;
  for (const std::int32_t half : std::bit_cast<std::array<std::int32_t, 2>>(scale)) {
    result.push_back(half);
  }
  return result;
}

/// For each node the finest step, of up to 16 halvings, that keeps its words within 2^20.
ExponentTable shiftTable(std::span<const float> magnitudes, double scale) {
  constexpr std::int32_t kLargestShift = 16;
  constexpr double kWordsForValue = 1 << 20;
  ExponentTable table{.exponents = {}, .scale = scale};
  for (const float magnitude : magnitudes) {
    std::int32_t shift = kLargestShift;
    while (shift > 0 && std::ldexp(magnitude / scale, shift) > kWordsForValue) --shift;
    table.exponents.push_back(shift);
  }
  return table;
}

ExponentTable exponentTable(std::span<const float> values, double error) {
  ExponentTable table;
  for (const float value : values) {
    // Rounding errs by up to half a step.
    const double coarsest = 2.0 * error * std::abs(static_cast<double>(value));
    const bool hasExponent = std::isfinite(coarsest) && coarsest > 0.0;
    const double exponent = hasExponent ? std::ceil(-std::log2(coarsest)) : 0.0;
    table.exponents.push_back(static_cast<std::int32_t>(std::clamp(exponent, -100.0, 100.0)));
  }
  return table;
}

double relativeStep(double percent, double maximum) {
  constexpr double kStepForZero = 0.11111;
  const double step = percent / 100.0 * maximum;
  if (step == 0.0) return kStepForZero;
  // The same operations in the same order as in readers: the last bit must agree.
  for (int k = -32; k < 32; ++k) {
    const double power = std::pow(10.0, k);
    if (step * power > 10000.0) return std::round(step * power) / power;
  }
  return step;
}

std::vector<std::int32_t> bitsOf(std::span<const float> values) {
  std::vector<std::int32_t> bits;
  bits.reserve(values.size());
  for (const float value : values) bits.push_back(std::bit_cast<std::int32_t>(value));
  return bits;
}

}  // namespace morvex::Writer

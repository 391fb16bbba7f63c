#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "writer/byte_writer.hpp"

/// Floats as integers: value = integer x step, with the same step for all values or one for each.
namespace morvex::Writer {

/// How the floats of coordinates or of a variable are stored.
struct Quantisation {
  enum class Kind { kExact, kUniform, kRelative, kAdaptiveShift, kAdaptiveExponent };
  Kind kind = Kind::kExact;
  /// kUniform: the step. kRelative: per cent of the largest absolute value. kAdaptiveShift: the
  /// coarsest step. kAdaptiveExponent: the largest error relative to each value.
  double parameter = 0.0;

  [[nodiscard]] static Quantisation exact() { return {}; }
  [[nodiscard]] static Quantisation uniform(double step) { return {Kind::kUniform, step}; }
  [[nodiscard]] static Quantisation relative(double percent) { return {Kind::kRelative, percent}; }
  /// For coordinates: steps are `scale` / 2^e, finer for nodes near the origin.
  [[nodiscard]] static Quantisation adaptiveShift(double scale) {
    return {Kind::kAdaptiveShift, scale};
  }
  /// For variables: steps are powers of two, finer for smaller values.
  [[nodiscard]] static Quantisation adaptiveExponent(double error) {
    return {Kind::kAdaptiveExponent, error};
  }
};

struct Quantised {
  std::vector<std::int32_t> words;
  /// Values that no word represents within half a step, such as infinities, kept unchanged.
  std::vector<std::uint64_t> outlierPositions;
  std::vector<float> outlierValues;
};

/// The nearest multiple of each value's step.
[[nodiscard]] Quantised quantise(std::span<const float> values, double step);
[[nodiscard]] Quantised quantise(std::span<const float> values, std::span<const double> steps);

/// Exponents of values, followed by the scale as two more words.
struct ExponentTable {
  std::vector<std::int32_t> exponents;
  double scale = 1.0;

  /// scale / 2^e for each value.
  [[nodiscard]] std::vector<double> steps() const;
  [[nodiscard]] std::vector<std::int32_t> words() const;
};
/// Shifts from 0 to 16; `magnitudes` has the largest absolute coordinate of each node.
[[nodiscard]] ExponentTable shiftTable(std::span<const float> magnitudes, double scale);
/// Exponents from -100 to 100.
[[nodiscard]] ExponentTable exponentTable(std::span<const float> values, double error);

/// The step that readers compute from a relative setting: percent of `maximum`, cut to five digits.
[[nodiscard]] double relativeStep(double percent, double maximum);

/// The bits of floats as integers.
[[nodiscard]] std::vector<std::int32_t> bitsOf(std::span<const float> values);

}  // namespace morvex::Writer

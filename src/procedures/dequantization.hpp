#pragma once

#include "core/procedure.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Turns quantised integers back into floating-point values by a step for all or a step for each,
/// and puts back the values that were kept exactly.
///
///   input 0  integers: Int32 or Int64
///   input 1  positions of outliers: UInt64, in values; optional
///   input 2  values of outliers: Float for Int32 integers, Double for Int64
///   input 3  adaptive table: Int32 words, an exponent per value; the last two words hold the scale
///   output 0 Float for Int32 integers or where forced, Double for Int64
class Dequantization final : public DataProcedure {
 public:
  /// How the step of a value is found; the numbers stand in parameter blocks.
  enum Type : std::uint32_t {
    uniform = 0,
    adaptiveShift = 2,
    adaptiveExponent = 3,
    adaptiveScaledExponent = 4
  };

  /// `carriedWord` is kept and passed to clones, and means nothing here. std::invalid_argument
  /// ": invalid quantum: " for a uniform step of 0 or below. A type without a name is refused when
  /// it runs.
  Dequantization(DataManager* context, std::uint32_t quantizationType, double quantum,
                 std::uint32_t carriedWord, bool forceFloatOutput, double adaptiveScale);

  void connectInput(std::size_t slot, Provider* provider) override;
  /// Exception ": Empty 4th input provider for type=Adaptive!"; KelborDataException for a table
  /// with too few words and for outliers outside the values.
  bool process(std::int32_t outputIndex) override;
  /// Null for adaptive types: they keep the scale of the last run.
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  void updateOutputDimensionsFromProcessedInput() override;
  /// Knows kTotalNumberUncompressedElements, which has no effect.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 private:
  template <class In, class Out>
  void dequantize(std::span<const In> in, std::span<Out> out,
                  std::span<const std::int32_t> exponents) const;
  template <class In>
  void run(DataProvider& input, DataProvider& output, std::span<const std::int32_t> table);
  template <class V, class Out>
  void putOutliersBack(std::span<Out> out) const;
  [[nodiscard]] bool isAdaptive() const noexcept;

  std::uint32_t quantizationType_;
  double quantum_;
  std::uint32_t carriedWord_;
  bool forceFloatOutput_;
  double adaptiveScale_;
};

/// Creator for tag 1005. Parameters: u32 type, f64 quantum, u8 force float.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createDequantizationFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

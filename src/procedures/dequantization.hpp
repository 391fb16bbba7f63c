#pragma once

#include "core/procedure.hpp"
#include "metadata/precisions.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Turns quantised integers into floating-point values, by one step for all values or one for each,
/// and restores the values that were stored exactly.
///
///   input 0  integers: Int32 or Int64
///   input 1  positions of outliers: UInt64, in values; optional
///   input 2  values of outliers: Float for Int32 integers, Double for Int64
///   input 3  adaptive table: Int32 words, an exponent per value; the last two words hold the scale
///   output 0 Float for Int32 integers or if forced, Double for Int64
class Dequantization final : public DataProcedure {
 public:
  /// `carriedWord` is passed to clones and has no effect here. std::invalid_argument
  /// ": invalid quantum: " for a uniform step of 0 or below. process() refuses a type that is not
  /// a QuantizationType.
  Dequantization(DataManager* context, std::uint32_t quantizationType, double quantum,
                 std::uint32_t carriedWord, bool forceFloatOutput, double adaptiveScale);

  void connectInput(std::size_t slot, Provider* provider) override;
  /// Exception ": Empty 4th input provider for type=Adaptive!"; KelborDataException for a table
  /// with too few words and for outliers outside the values.
  bool process(std::int32_t outputIndex) override;
  /// Null for adaptive types, since a run stores its scale in the procedure.
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  void updateOutputDimensionsFromProcessedInput() override;
  /// Accepts kTotalNumberUncompressedElements, which has no effect.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 private:
  /// V is the type of outliers.
  template <class V, class In, class Out>
  void dequantize(std::span<const In> in, std::span<Out> out,
                  std::span<const std::int32_t> exponents) const;
  template <class In>
  void run(DataProvider& input, DataProvider& output, std::span<const std::int32_t> table);
  [[nodiscard]] bool is(morvex::QuantizationType type) const noexcept {
    return quantizationType_ == static_cast<std::uint32_t>(type);
  }
  [[nodiscard]] bool isAdaptive() const noexcept;

  /// A QuantizationType, or an unknown code from the file.
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

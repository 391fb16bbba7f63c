#include "procedures/dequantization.hpp"

#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "procedures/kernels/dequantize.hpp"

namespace Kelbor::MathModule {

using morvex::QuantizationType;

namespace {

class DequantizationFactory final : public morvex::ProcedureFactory {
 public:
  using ProcedureFactory::ProcedureFactory;

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> /*sizes*/,
                                        morvex::Deserializer& parameters) const override {
    const std::uint32_t quantizationType = parameters.readU32();
    const double quantum = parameters.readF64();
    const bool forceFloatOutput = parameters.readU8() != 0;
    constexpr std::uint32_t kCarriedWord = 2;
    return std::make_unique<Dequantization>(context(), quantizationType, quantum, kCarriedWord,
                                            forceFloatOutput, 1.0);
  }
};

/// Values stored exactly, and their positions. Values without positions are not read.
template <class V>
class Outliers {
 public:
  /// The inputs may be null. KelborDataException for a position of `valueCount` or more, and for
  /// fewer values than positions.
  Outliers(DataProvider* positions, DataProvider* values, std::size_t valueCount) {
    if (!positions || positions->getDataDimension().getNumberOfElements() == 0) return;
    positions_.emplace(positions);
    if (positions_->size() == 0) return;
    values_.emplace(values);
    if (values_->size() < positions_->size() ||
        !Kernels::outliersInRange(positions_->view(), valueCount)) {
      raise<KelborDataException>(": Outlier outside the values!");
    }
  }

  template <class Out>
  void putBack(std::span<Out> out) const {
    if (values_) Kernels::scatterOutliers(positions_->view(), values_->view(), out);
  }

 private:
  std::optional<ScopedConstData<std::uint64_t>> positions_;
  std::optional<ScopedConstData<V>> values_;
};

std::string textOf(double number) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << number;
  return text.str();
}

}  // namespace

Dequantization::Dequantization(DataManager* context, std::uint32_t quantizationType, double quantum,
                               std::uint32_t carriedWord, bool forceFloatOutput,
                               double adaptiveScale)
    : DataProcedure(context, 4, 1),
      quantizationType_(quantizationType),
      quantum_(quantum),
      carriedWord_(carriedWord),
      forceFloatOutput_(forceFloatOutput),
      adaptiveScale_(adaptiveScale) {
  if (is(QuantizationType::UniformQuantization) && quantum <= 0.0) {
    raise<std::invalid_argument>(": invalid quantum: " + textOf(quantum));
  }
}

bool Dequantization::isAdaptive() const noexcept {
  return is(QuantizationType::AdaptiveShiftQuantization) ||
         is(QuantizationType::AdaptiveExponentQuantization) ||
         is(QuantizationType::AdaptiveScaledExponentQuantization);
}

void Dequantization::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  if (slot == 3 && !isAdaptive()) {
    raise<std::logic_error>(": 4th input provider connected, but Type!=Adaptive!");
  }
  if (slot != 0) return;
  const DataDimension& integers = requireInput(0).getDataDimension();
  const DataType type = integers.getDataType();
  if (type != DataTypes::kInt64 && type != DataTypes::kInt32) {
    raise<std::runtime_error>(std::string(" with non-signed-int input: ") + type.getName());
  }
  const bool isDouble = type == DataTypes::kInt64 && !forceFloatOutput_;
  makeOutput(0,
             DataDimension(isDouble ? DataTypes::kDouble : DataTypes::kFloat, integers.getSizes()));
}

bool Dequantization::process(std::int32_t outputIndex) {
  DataProvider& input = requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  const DataType type = input.getDataDimension().getDataType();
  if (type != DataTypes::kInt64 && type != DataTypes::kInt32) raiseUnhandledType(type);

  std::optional<ScopedConstData<std::int32_t>> table;
  std::span<const std::int32_t> words;
  if (isAdaptive()) {
    DataProvider* provider = inputData(3);
    constexpr const char* kEmptyTable = ": Empty 4th input provider for type=Adaptive!";
    if (!provider || provider->getDataDimension().getNumberOfElements() == 0) {
      raise<Exception>(kEmptyTable);
    }
    table.emplace(provider);
    words = table->view();
    if (words.empty()) raise<Exception>(kEmptyTable);
    if (is(QuantizationType::AdaptiveExponentQuantization)) {
      adaptiveScale_ = 1.0;
    } else {
      if (words.size() < 2) raise<KelborDataException>(": Adaptive table has no scale!");
      adaptiveScale_ = Kernels::scaleOfAdaptiveTable(words);
    }
  }
  if (type == DataTypes::kInt64) {
    run<std::int64_t>(input, output, words);
  } else {
    run<std::int32_t>(input, output, words);
  }
  return true;
}

template <class In>
void Dequantization::run(DataProvider& input, DataProvider& output,
                         std::span<const std::int32_t> table) {
  // Outliers are as wide as the integers: Float for Int32, Double for Int64.
  using Wide = std::conditional_t<sizeof(In) == 8, double, float>;
  if (forceFloatOutput_) {
    const ScopedConstData<In> integers(&input);
    updateOutputDimensionsFromProcessedInput();
    const ScopedData<float> values(&output);
    dequantize<Wide>(integers.view(), values.view(), table);
  } else {
    const ScopedDataInsitu<In, Wide> values(&input, &output);
    dequantize<Wide>(values.input(), values.output(), table);
  }
}

template <class V, class In, class Out>
void Dequantization::dequantize(std::span<const In> in, std::span<Out> out,
                                std::span<const std::int32_t> exponents) const {
  // Checks everything before writing: in place, the first value written replaces an integer.
  if (isAdaptive() && exponents.size() < in.size()) {
    raise<KelborDataException>(": Adaptive table is shorter than the values!");
  }
  if (!isAdaptive() && !is(QuantizationType::UniformQuantization)) {
    getLogger().error() << "Unhandled (de)quantization type: " << quantizationType_ << "!";
    raiseUnlogged<std::runtime_error>("Unhandled quantization type!");
  }
  const Outliers<V> outliers(inputData(1), inputData(2), out.size());
  if (is(QuantizationType::UniformQuantization)) {
    Kernels::dequantizeUniform(in, out, quantum_);
  } else if (is(QuantizationType::AdaptiveShiftQuantization)) {
    Kernels::dequantizeShifts(in, exponents, adaptiveScale_, out);
  } else {
    Kernels::dequantizeExponents(in, exponents, adaptiveScale_, out);
  }
  outliers.putBack(out);
}

std::unique_ptr<DataProcedure> Dequantization::clone() const {
  if (!is(QuantizationType::UniformQuantization)) return nullptr;
  return std::make_unique<Dequantization>(getContext(), quantizationType_, quantum_, carriedWord_,
                                          forceFloatOutput_, 1.0);
}

void Dequantization::updateOutputDimensionsFromProcessedInput() {
  DataProvider& output = requireOutput(0);
  setOutputDimension(output, DataDimension(output.getDataDimension().getDataType(),
                                           requireInput(0).getDataDimension().getSizes()));
}

bool Dequantization::setParameter(std::string_view key, std::uint64_t /*value*/) {
  return key == kTotalNumberUncompressedElements;
}

std::unique_ptr<morvex::ProcedureFactory> createDequantizationFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<DequantizationFactory>(classStream.context());
}

}  // namespace Kelbor::MathModule

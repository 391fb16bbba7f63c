#include "procedures/sums.hpp"

#include <memory>
#include <optional>

#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "procedures/kernels/prefix_sum.hpp"
#include "procedures/kernels/sums.hpp"
#include "procedures/kernels/unsigned_view.hpp"

namespace Kelbor::MathModule {
namespace {

using Kernels::unsignedView;

/// Runs the kernel for the input's element type with access in place; raises for other types.
template <class... Types, class Kernel>
void runInSitu(DataProvider& input, DataProvider& output, BlockLoan loan, Kernel&& kernel) {
  const DataType type = input.getDataDimension().getDataType();
  const bool handled = visitElement<Types...>(type, [&](auto element) {
    using T = typename decltype(element)::type;
    const ScopedDataInsitu<T, T> values(&input, &output, loan);
    kernel(values.input(), values.output());
  });
  if (!handled) raiseUnhandledType(type);
}

template <class Kernel>
void runOnAllIntegers(DataProvider& input, DataProvider& output, Kernel&& kernel) {
  runInSitu<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
            std::int64_t, std::uint64_t>(input, output, BlockLoan::kAllowed, kernel);
}

template <class Kernel>
void runOnWideIntegers(DataProvider& input, DataProvider& output, BlockLoan loan, Kernel&& kernel) {
  runInSitu<std::int8_t, std::uint8_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>(
      input, output, loan, kernel);
}

bool sameShape(const DataProvider& a, const DataProvider& b) {
  return a.getDataDimension().getDataType() == b.getDataDimension().getDataType() &&
         a.getDataDimension().getNumberOfElements() == b.getDataDimension().getNumberOfElements();
}

[[noreturn]] void raiseInhomogeneous() {
  raise<Exception>(": inhomogeneous input provider(s)!");
}

template <class Procedure>
class SumsFactory final : public morvex::ProcedureFactory {
 public:
  using ProcedureFactory::ProcedureFactory;

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> /*sizes*/,
                                        morvex::Deserializer& parameters) const override {
    if constexpr (std::is_same_v<Procedure, OffsetSums>) {
      return std::make_unique<OffsetSums>(context(), parameters.readU64());
    } else {
      return std::make_unique<Procedure>(context());
    }
  }
};

using SimpleSumsFactory = SumsFactory<SimpleSums>;
using OffsetSumsFactory = SumsFactory<OffsetSums>;
using VectorSumsFactory = SumsFactory<VectorSums>;
using TreeSumsFactory = SumsFactory<TreeSums>;

}  // namespace

void SumsProcedure::updateOutputDimensionsFromProcessedInput() {
  setOutputDimension(requireOutput(0), requireInput(0).getDataDimension());
}

void SimpleSums::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  makeOutput(slot, requireInput(slot).getDataDimension());
}

bool SimpleSums::process(std::int32_t outputIndex) {
  runOnAllIntegers(requireInput(0), requireOutput(outputIndex), [](auto in, auto out) {
    const auto sums = unsignedView(out);
    using U = typename decltype(sums)::value_type;
    Kernels::prefixSum<U>(unsignedView(in), sums, U{0});
  });
  return true;
}

std::unique_ptr<DataProcedure> SimpleSums::clone() const {
  return std::make_unique<SimpleSums>(getContext());
}

bool SimpleSums::setParameter(std::string_view key, std::uint64_t /*value*/) {
  return key == kTotalNumberUncompressedElements;
}

void OffsetSums::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  makeOutput(slot, requireInput(slot).getDataDimension());
}

bool OffsetSums::process(std::int32_t outputIndex) {
  runOnAllIntegers(requireInput(0), requireOutput(outputIndex), [this](auto in, auto out) {
    if (numberOfBlocks_ == 0) raise<KelborDataException>(": numberOfBlocks==0");
    if (in.size() % numberOfBlocks_ != 0) {
      raise<Exception>("Offset sums failed due to incompatible numbers!");
    }
    const auto sums = unsignedView(out);
    using U = typename decltype(sums)::value_type;
    Kernels::offsetSums<U>(unsignedView(in), sums, numberOfBlocks_);
  });
  return true;
}

std::unique_ptr<DataProcedure> OffsetSums::clone() const {
  return std::make_unique<OffsetSums>(getContext(), numberOfBlocks_);
}

bool OffsetSums::setParameter(std::string_view key, std::uint64_t /*value*/) {
  return key == kTotalNumberUncompressedElements;
}

void VectorSums::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  const DataProvider& added = requireInput(slot);
  // The second reference is compared once its content exists.
  for (const std::size_t other : {std::size_t{0}, std::size_t{1}}) {
    if (inputData(other) && !sameShape(added, *inputData(other))) raiseInhomogeneous();
  }
  if (slot == 0) makeOutput(0, added.getDataDimension());
}

bool VectorSums::process(std::int32_t outputIndex) {
  DataProvider& input = requireInput(0);
  DataProvider& firstProvider = requireInput(1);
  runOnWideIntegers(input, requireOutput(outputIndex), BlockLoan::kAllowed,
                    [&]<class T>(std::span<const T> in, std::span<T> out) {
                      const ScopedConstData<T> first(&firstProvider);
                      std::optional<ScopedConstData<T>> second;
                      if (hasInputProvider(2)) second.emplace(inputData(2));
                      // Compared again: shapes are final only now that all inputs have run.
                      if (first.size() != in.size() || (second && second->size() != in.size())) {
                        raiseInhomogeneous();
                      }
                      if (!second || second->data() == first.data()) {
                        Kernels::vectorSums<T>(in, first.view(), out);
                      } else {
                        Kernels::vectorSums<T>(in, first.view(), second->view(), out);
                      }
                    });
  return true;
}

void VectorSums::updateOutputDimensionsFromProcessedInput() {
  for (const std::size_t reference : {std::size_t{1}, std::size_t{2}}) {
    const DataProvider* provider = inputData(reference);
    if (provider && !sameShape(requireInput(0), *provider)) raiseInhomogeneous();
  }
  SumsProcedure::updateOutputDimensionsFromProcessedInput();
}

void TreeSums::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  if (slot == 0) makeOutput(0, requireInput(0).getDataDimension());
}

bool TreeSums::process(std::int32_t outputIndex) {
  // In place, an edge list that is no forest would give another result than from block to block.
  const auto loan = BlockLoan::kRefused;
  runOnWideIntegers(requireInput(0), requireOutput(outputIndex), loan, [this](auto in, auto out) {
    const ScopedConstData<std::int32_t> edges(inputData(1));
    const ScopedConstData<std::uint64_t> treeStarts(inputData(2));
    if (!Kernels::checkTree(edges.view(), treeStarts.view(), in.size())) {
      raise<KelborDataException>(": Tree reaches outside the data!");
    }
    const auto sums = unsignedView(out);
    using U = typename decltype(sums)::value_type;
    Kernels::treeSums<U>(unsignedView(in), edges.view(), treeStarts.view(), sums);
  });
  return true;
}

std::unique_ptr<DataProcedure> TreeSums::clone() const {
  return std::make_unique<TreeSums>(getContext());
}

std::unique_ptr<morvex::ProcedureFactory> createSimpleSumsFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<SimpleSumsFactory>(classStream.context());
}

std::unique_ptr<morvex::ProcedureFactory> createOffsetSumsFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<OffsetSumsFactory>(classStream.context());
}

std::unique_ptr<morvex::ProcedureFactory> createVectorSumsFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<VectorSumsFactory>(classStream.context());
}

std::unique_ptr<morvex::ProcedureFactory> createTreeSumsFactory(morvex::Deserializer& classStream) {
  return std::make_unique<TreeSumsFactory>(classStream.context());
}

}  // namespace Kelbor::MathModule

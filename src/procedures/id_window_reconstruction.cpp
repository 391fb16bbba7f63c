#include "procedures/id_window_reconstruction.hpp"

#include <stdexcept>

#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "procedures/kernels/id_window.hpp"

namespace Kelbor::MathModule {
namespace {

bool isKnownMethod(std::uint32_t method) {
  return method == 0 || method == 3;
}

template <class F>
bool visitIdType(DataType type, F&& f) {
  return visitElement<std::int32_t, std::int64_t, std::uint32_t, std::uint64_t>(type,
                                                                                std::forward<F>(f));
}

}  // namespace

IdWindowReconstruction::IdWindowReconstruction(DataManager* context, std::uint32_t idWindowMethod)
    : DataProcedure(context, 2, 1), idWindowMethod_(idWindowMethod) {
  if (!isKnownMethod(idWindowMethod)) {
    getLogger().error() << "Unsupported IdWindowMethod type: " << idWindowMethod;
  }
}

void IdWindowReconstruction::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  if (slot == 0) {
    const DataDimension& references = requireInput(0).getDataDimension();
    if (!visitIdType(references.getDataType(), [](auto) {})) {
      raiseUnhandledType(references.getDataType());
    }
    makeOutput(0, references);
  }
  const DataProvider* references = inputData(0);
  const DataProvider* newIds = inputData(1);
  if (references && newIds &&
      references->getDataDimension().getDataType() != newIds->getDataDimension().getDataType()) {
    getLogger().error() << ": Types of input providers do not match!";
  }
}

bool IdWindowReconstruction::process(std::int32_t outputIndex) {
  DataProvider& input = requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  if (outputIndex != 0) return true;
  const DataType type = input.getDataDimension().getDataType();
  const bool handled = visitIdType(type, [&](auto element) {
    using T = typename decltype(element)::type;
    const ScopedDataInsitu<T, T> ids(&input, &output);
    const ScopedConstData<T> newIds(inputData(1));
    if (!isKnownMethod(idWindowMethod_)) raise<std::runtime_error>("Invalid type!");
    if (!Kernels::idWindowIsValid(ids.input(), newIds.size())) {
      raise<KelborDataException>(": Id reference out of range!");
    }
    Kernels::reconstructIds(ids.input(), newIds.view(), ids.output());
  });
  if (!handled) raiseUnhandledType(type);
  return true;
}

std::unique_ptr<DataProcedure> IdWindowReconstruction::clone() const {
  return std::make_unique<IdWindowReconstruction>(getContext(), idWindowMethod_);
}

void IdWindowReconstruction::updateOutputDimensionsFromProcessedInput() {
  setOutputDimension(requireOutput(0), requireInput(0).getDataDimension());
}

bool IdWindowReconstruction::setParameter(std::string_view key, std::uint64_t /*value*/) {
  return key == kTotalNumberUncompressedElements;
}

}  // namespace Kelbor::MathModule

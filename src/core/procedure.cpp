#include "core/procedure.hpp"

#include <stdexcept>
#include <utility>

#include "core/checked.hpp"
#include "core/error.hpp"
#include "core/object_provider.hpp"
#include "core/target_provider.hpp"

namespace Kelbor {
namespace {

constexpr const char* kArbitraryCopy = "Copying arbitrary providers is not supported!";

thread_local constinit RunObserver* threadObserver = nullptr;

template <class E>
[[noreturn]] void raiseAt(const char* message, std::size_t position) {
  raise<E>(message + std::to_string(position));
}

/// An empty output of the same kind and shape.
std::unique_ptr<Provider> emptyTwin(const Provider& output) {
  if (const auto* array = dynamic_cast<const DataProvider*>(&output)) {
    return std::make_unique<DataProvider>(array->getContext(), array->getDataDimension());
  }
  if (const auto* objects = dynamic_cast<const ObjectProvider*>(&output)) {
    return std::make_unique<ObjectProvider>(objects->getContext(), objects->getDetails());
  }
  raise<std::runtime_error>(kArbitraryCopy);
}

}  // namespace

ScopedRunObserver::ScopedRunObserver(RunObserver* observer) noexcept
    : before_(std::exchange(threadObserver, observer)) {}

ScopedRunObserver::~ScopedRunObserver() {
  threadObserver = before_;
}

bool runProcedure(DataProcedure& procedure, std::int32_t outputIndex) {
  RunObserver* const observer = threadObserver;
  if (!observer) return procedure.process(outputIndex);
  struct End {
    RunObserver& observer;
    const DataProcedure& procedure;
    ~End() { observer.runEnds(procedure); }
  };
  observer->runBegins(procedure);
  const End end{*observer, procedure};
  return procedure.process(outputIndex);
}

DataProcedure::DataProcedure(DataManager* context, std::size_t numberOfSources,
                             std::size_t numberOfProviders)
    : context_(context), inputs_(numberOfSources), outputs_(numberOfProviders) {
  if (!context) raise<std::runtime_error>("NULL Context!");
  if (numberOfSources == 0) raise<std::invalid_argument>("Zero numberOfSources!");
  if (numberOfProviders == 0) raise<std::invalid_argument>("Zero numberOfProviders!");
}

DataProcedure::~DataProcedure() {
  for (Provider* input : inputs_) {
    if (input) input->releaseReference();
  }
  if (hasReferencedOutput()) {
    getLogger().fatal() << "DataProcedure::~DataProcedure: existing output provider still has ref!";
    abortProcess("Maybe you deleted the DataProcedures in a chain from left to right?");
  }
}

void DataProcedure::connectInput(std::size_t slot, Provider* provider) {
  if (slot >= inputs_.size()) raiseAt<std::invalid_argument>("Invalid input provider @ ", slot);
  if (inputs_[slot]) raiseAt<std::invalid_argument>("Slot already connected @ ", slot);
  inputs_[slot] = provider;
  provider->addReference();
}

void DataProcedure::disconnectInput(std::size_t slot) {
  if (slot >= inputs_.size()) raiseAt<std::invalid_argument>("Invalid input slot @ ", slot);
  if (!inputs_[slot]) raiseAt<std::invalid_argument>("Slot not connected @ ", slot);
  std::exchange(inputs_[slot], nullptr)->releaseReference();
}

bool DataProcedure::deleteUnreferencedOutputs() {
  bool allDeleted = true;
  for (OutputSlot& output : outputs_) {
    if (!output) continue;
    if (output->getReferences() == 0) {
      output.reset();
    } else {
      allDeleted = false;
    }
  }
  return allDeleted;
}

bool DataProcedure::setOutputBuffer(std::size_t outputIndex, void* memory,
                                    std::uint64_t sizeInBytes) {
  if (!hasOutputProvider(outputIndex)) {
    raiseAt<Exception>("Output provider does not exist @ ", outputIndex);
  }
  const DataProvider* old = outputData(outputIndex);
  if (!old) {
    raise<std::runtime_error>("Output buffer for arbitrary providers is not supported!");
  }
  if (old->getReferences() != 0) {
    raise<std::runtime_error>("Existing references to output: Assigning out buffer not allowed!");
  }
  adoptOutput(outputIndex, std::make_unique<TargetDataProvider>(context_, old->getDataDimension(),
                                                                memory, sizeInBytes));
  return true;
}

void DataProcedure::updateOutputDimensionsFromProcessedInput() {
  raise<Exception>("::updateOutputDimensionsFromProcessedInput() not implemented but necessary!");
}

std::int32_t DataProcedure::getParameters(std::string_view /*name*/,
                                          std::map<std::string, std::string>& parameters) const {
  parameters.clear();
  return 0;
}

bool DataProcedure::setParameter(std::string_view /*key*/, std::uint64_t /*value*/) {
  return false;
}

bool DataProcedure::hasReferencedOutput() const noexcept {
  for (const OutputSlot& output : outputs_) {
    if (output && output->getReferences() != 0) return true;
  }
  return false;
}

Provider* DataProcedure::getInputProvider(std::size_t slot) const {
  if (!hasInputProvider(slot)) raiseAt<std::invalid_argument>("!hasInputProvider @ ", slot);
  return inputs_[slot];
}

Provider* DataProcedure::getOutputProvider(std::size_t index) const {
  if (!hasOutputProvider(index)) raiseAt<std::invalid_argument>("!hasOutputProvider @ ", index);
  return outputs_[index].get();
}

void DataProcedure::setOutputProvider(std::size_t index, std::unique_ptr<Provider> provider) {
  if (!isValidOutputProviderIndex(index)) {
    raiseAt<Exception>("!isValidOutputProviderIndex: ", index);
  }
  if (outputs_[index]) raiseAt<Exception>("Output provider already exists @ ", index);
  adoptOutput(index, std::move(provider));
}

std::unique_ptr<DataProcedure> DataProcedure::copy() const {
  std::unique_ptr<DataProcedure> twin = clone();
  if (!twin) return nullptr;
  twin->inputs_.assign(inputs_.begin(), inputs_.end());
  for (Provider* input : twin->inputs_) {
    if (input) input->addReference();
  }
  for (std::size_t index = 0; index < outputs_.size(); ++index) {
    if (outputs_[index]) twin->adoptOutput(index, emptyTwin(*outputs_[index]));
  }
  return twin;
}

DataProvider* DataProcedure::inputData(std::size_t slot) const noexcept {
  return slot < inputs_.size() ? dynamic_cast<DataProvider*>(inputs_[slot]) : nullptr;
}

DataProvider* DataProcedure::outputData(std::size_t index) const noexcept {
  return index < outputs_.size() ? dynamic_cast<DataProvider*>(outputs_[index].get()) : nullptr;
}

DataProvider& DataProcedure::requireInput(std::size_t slot) const {
  DataProvider* input = inputData(slot);
  if (!input) raise<std::runtime_error>(": No input provider!");
  return *input;
}

DataProvider& DataProcedure::requireOutput(std::int32_t index) const {
  DataProvider* output = index < 0 ? nullptr : outputData(static_cast<std::size_t>(index));
  if (!output) raise<std::runtime_error>(": No output provider!");
  return *output;
}

void DataProcedure::makeOutput(std::size_t index, const DataDimension& dimension) {
  setOutputProvider(index, std::make_unique<DataProvider>(context_, dimension));
}

void DataProcedure::setOutputDimension(DataProvider& output, const DataDimension& dimension,
                                       const char* refused) {
  if (!output.setDataDimension(dimension)) raise<Exception>(refused);
}

void DataProcedure::borrowInput(std::size_t slot, Provider* provider) {
  checkedAt(inputs_, slot) = provider;
}

void DataProcedure::borrowOutput(std::size_t index, Provider* provider) {
  checkedAt(outputs_, index) = OutputSlot(provider, OutputDeleter{.owned = false});
}

void DataProcedure::adoptOutput(std::size_t index, std::unique_ptr<Provider> provider) {
  provider->setProducer(this, static_cast<std::int32_t>(index));
  outputs_[index] = OutputSlot(provider.release(), OutputDeleter{.owned = true});
}

}  // namespace Kelbor

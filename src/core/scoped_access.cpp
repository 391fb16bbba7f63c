#include "core/scoped_access.hpp"

#include <mutex>
#include <stdexcept>
#include <string>

#include "core/error.hpp"
#include "core/procedure.hpp"

namespace Kelbor {
namespace Detail {

void requireType(const DataProvider& provider, DataType expected) {
  const DataType actual = provider.getDataDimension().getDataType();
  if (actual == expected) return;
  raise<TypeMismatchException>(std::string("DataProvider possesses the wrong data type: '") +
                               actual.getName() + "' (Expecting '" + expected.getName() + "')");
}

void requireProvider(const Provider* provider, const char* message) {
  if (!provider) raise<std::runtime_error>(message);
}

const std::byte* openRead(DataProvider& provider, const char* tooSmall) {
  const std::lock_guard guard(provider.lock);
  if (!provider.hasContainer()) provider.ensureContent();
  // Checks content that was just made as well: a producer may have made less than announced.
  const DataContainer* container = provider.getContainer();
  if (container && provider.getDataDimension().getByteSize() > container->size) {
    raise<Exception>(tooSmall);
  }
  return provider.getReadData();
}

void closeRead(DataProvider& provider) noexcept {
  if (!provider.hasContainer()) return;
  provider.releaseRead();
  if (provider.isFreeable()) provider.clearContent();
}

void growContainer(DataProvider& provider) {
  DataContainer* container = provider.getContainer();
  if (container->size >= provider.getDataDimension().getByteSize()) return;
  if (!provider.isFreeable() || !container->reallocate(provider)) {
    raise<MemoryAllocationException>("Could not reallocate container \"on the fly\"!");
  }
}

std::byte* openWrite(DataProvider& provider) {
  if (provider.hasContainer()) {
    growContainer(provider);
  } else {
    provider.allocateContainer();
  }
  return provider.getWriteData();
}

}  // namespace Detail

namespace {

/// While alive, lends the output's block to the input that is about to be made, so that both share
/// one block. Only for an input without other readers, since the step overwrites it, and only for
/// equal element sizes, since values then never move.
class OutputLoan {
 public:
  OutputLoan(DataProvider& input, const DataProvider& output, BlockLoan loan) : input_(input) {
    const bool isForOutputAlone = !input.hasContainer() && input.isMigratable();
    const std::size_t width = input.getDataDimension().getDataType().getSize();
    if (!isForOutputAlone || width != output.getDataDimension().getDataType().getSize()) return;
    DataContainer* block = output.getContainer();
    if (!block) {  // the input's block will move to the output: pass the output's offer on
      input_.lendMemory(output.lentMemory());
    } else if (std::byte* data = loan == BlockLoan::kAllowed ? block->getData() : nullptr) {
      input_.lendMemory({data, static_cast<std::size_t>(block->size)});
    }
  }
  ~OutputLoan() { input_.lendMemory({}); }
  OutputLoan(const OutputLoan&) = delete;
  OutputLoan& operator=(const OutputLoan&) = delete;

 private:
  DataProvider& input_;
};

}  // namespace

ScopedConstDataAny::ScopedConstDataAny(DataProvider* provider) : provider_(provider) {
  Detail::requireProvider(provider, "ScopedConstDataAny without provider!");
  data_ = Detail::openRead(*provider, "Output container is too small for ScopedConstDataAny!");
  size_ = provider->getDataDimension().getNumberOfElements();
}

std::span<const std::byte> ScopedConstDataAny::bytes() const {
  return {data_, static_cast<std::size_t>(provider_->getDataDimension().getByteSize())};
}

InsituAccess::InsituAccess(DataProvider* input, DataType inputType, DataProvider* output,
                           DataType outputType, BlockLoan loan)
    : input_(input), output_(output) {
  Detail::requireProvider(input, "ScopedDataInsitu without inputProvider!");
  Detail::requireProvider(output, "ScopedDataInsitu without outputProvider!");
  Detail::requireType(*input, inputType);
  Detail::requireType(*output, outputType);

  // Held until the input is locked for reading or its block has moved: otherwise another reader
  // could drop the content in between.
  std::unique_lock guard(input->lock);
  if (!input->hasContainer()) {
    const OutputLoan lent(*input, *output, loan);
    input->ensureContent();
  }
  if (!input->hasContainer()) raise<KelborDataException>("Failed to get read data access!");
  if (input->getDataDimension().getByteSize() > input->getContainer()->size) {
    raise<Exception>("Output container is too small for ScopedConstData!");
  }
  if (DataProcedure* producer = output->getProducer()) {
    producer->updateOutputDimensionsFromProcessedInput();
  } else if (inputType != outputType) {
    raise<TypeMismatchException>(
        "Input and Output Provider Type Mismatch - No Procedure available");
  } else if (!output->setDataDimension(input->getDataDimension())) {
    raise<Exception>("setDataDimension() failed!");
  }

  inputSize_ = static_cast<std::size_t>(input->getDataDimension().getNumberOfElements());
  // First choice: the block moves to the output and both views are the same memory. Where it can't
  // move, because the output has a block or the input another reader, the views are two blocks, or
  // one that OutputLoan shared.
  if (!output->hasContainer() && input->getContainer()->migrate(*output)) {
    guard.unlock();
    outputData_ = output->getWriteData();
    inputData_ = outputData_;
  } else {
    inputData_ = input->getReadData();
    readsInput_ = true;
    guard.unlock();
    try {
      outputData_ = Detail::openWrite(*output);
    } catch (...) {
      Detail::closeRead(*input);
      throw;
    }
  }
  outputSize_ = static_cast<std::size_t>(output->getDataDimension().getNumberOfElements());
}

InsituAccess::~InsituAccess() {
  if (readsInput_) Detail::closeRead(*input_);
  output_->releaseWrite();
}

}  // namespace Kelbor

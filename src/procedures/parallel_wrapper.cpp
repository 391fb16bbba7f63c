#include "procedures/parallel_wrapper.hpp"

#include <atomic>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "core/byte_cursor.hpp"
#include "core/checked.hpp"
#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "platform/thread_count.hpp"
#include "procedures/factory_table.hpp"
#include "procedures/team.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr const char* kArbitraryCopy = ": Copying arbitrary providers is not supported!";
constexpr const char* kNoClone = ": Cloning is not implemented for given procedure!";

/// Deeper than any recipe nests wrappers.
constexpr unsigned kMostNestedWrappers = 8;

class ParallelWrapperFactory final : public morvex::ProcedureFactory {
 public:
  ParallelWrapperFactory(DataManager* context, std::vector<std::byte> innerBlock, unsigned nesting)
      : ProcedureFactory(context), innerBlock_(std::move(innerBlock)), nesting_(nesting) {}

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> sizes,
                                        morvex::Deserializer& parameters) const override {
    morvex::Deserializer innerStream(context(), innerBlock_);
    innerStream.classCreators = &allClassCreators();
    innerStream.nesting = nesting_ + 1;
    const auto innerFactory = morvex::readFactory(innerStream);
    const std::uint32_t singleChunkMarker = parameters.readU32();
    return std::make_unique<OmpDecompressionWrapper>(innerFactory->create(sizes, parameters), sizes,
                                                     singleChunkMarker);
  }

 private:
  std::vector<std::byte> innerBlock_;
  unsigned nesting_;
};

template <class F>
bool visitChunkType(DataType type, F&& f) {
  return visitElement<std::uint8_t, std::int16_t, std::int32_t, std::uint32_t, std::int64_t,
                      std::uint64_t, float>(type, std::forward<F>(f));
}

void logChunkError(const char* message) {
  getLogger().error() << message;
}

const DataProcedure& requireInner(const DataProcedure* inner) {
  if (!inner) raise<std::invalid_argument>(kNoClone);
  return *inner;
}

}  // namespace

/// An input with its content held open, and one wrapping provider for each chunk of it.
struct OmpDecompressionWrapper::ChunkedInput {
  std::size_t slot = 0;
  std::unique_ptr<ScopedConstDataAny> content;
  std::vector<std::unique_ptr<DataProvider>> chunks;
};

OmpDecompressionWrapper::OmpDecompressionWrapper(std::unique_ptr<DataProcedure> inner,
                                                 std::span<const std::uint64_t> targetDimensions,
                                                 std::uint32_t singleChunkMarker)
    : DataProcedure(requireInner(inner.get()).getContext(),
                    requireInner(inner.get()).getNumberOfInputs(), 1),
      inner_(std::move(inner)),
      targetDimensions_(targetDimensions.begin(), targetDimensions.end()),
      singleChunkMarker_(singleChunkMarker) {
  if (inner_->getNumberOfOutputs() != 1) {
    raise<std::invalid_argument>(": Procedures with more than one provider are not supported");
  }
  if (targetDimensions_.empty()) {
    raise<std::invalid_argument>(": At least one target dimension is needed");
  }
  for (std::size_t slot = 0; slot < inner_->getNumberOfInputs(); ++slot) {
    if (inner_->hasInputProvider(slot)) {
      DataProcedure::connectInput(slot, inner_->getInputProvider(slot));
    }
  }
  if (inner_->hasOutputProvider(0)) {
    const auto* output = dynamic_cast<DataProvider*>(inner_->getOutputProvider(0));
    if (!output) raise<std::runtime_error>("Copying arbitrary providers is not supported!");
    makeOutput(0, output->getDataDimension());
  }
}

void OmpDecompressionWrapper::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  const auto innerOutput = [this]() -> Provider* {
    return inner_->hasOutputProvider(0) ? inner_->getOutputProvider(0) : nullptr;
  };
  const Provider* before = innerOutput();
  inner_->connectInput(slot, provider);
  Provider* after = innerOutput();
  const auto* array = dynamic_cast<DataProvider*>(after);
  inner_->disconnectInput(slot);
  if (after == before) return;
  if (!array) raise<std::runtime_error>(kArbitraryCopy);
  makeOutput(0, DataDimension(array->getDataDimension().getDataType(), targetDimensions_));
}

bool OmpDecompressionWrapper::process(std::int32_t outputIndex) {
  (void)requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  const std::uint64_t outputValues = output.getDataDimension().getNumberOfElements();
  numberOfChunks_.reset();
  std::vector<ChunkedInput> inputs;
  for (std::size_t slot = 0; slot < getNumberOfInputs(); ++slot) {
    if (hasInputProvider(slot)) inputs.push_back(readChunks(slot, outputValues));
  }
  bool succeeded = false;
  const DataType type = output.getDataDimension().getDataType();
  const bool handled = visitChunkType(type, [&](auto element) {
    succeeded = runChunks<typename decltype(element)::type>(inputs, output);
  });
  if (!handled) raiseUnhandledType(type);
  return succeeded;
}

OmpDecompressionWrapper::ChunkedInput OmpDecompressionWrapper::readChunks(
    std::size_t slot, std::uint64_t outputValues) {
  DataProvider& input = requireInput(slot);
  const DataType type = input.getDataDimension().getDataType();
  if (!visitChunkType(type, [](auto) {})) raiseUnhandledType(type);
  ChunkedInput result;
  result.slot = slot;
  result.content = std::make_unique<ScopedConstDataAny>(&input);
  const std::span<const std::byte> bytes = result.content->bytes();

  // Chunks only look at the input's memory; providers know no read-only view of foreign memory.
  const auto addChunk = [&](const DataDimension& dimension, std::span<const std::byte> payload) {
    auto chunk = std::make_unique<DataProvider>(getContext(), dimension);
    chunk->wrapMemory(const_cast<std::byte*>(payload.data()), payload.size());
    result.chunks.push_back(std::move(chunk));
  };

  if (singleChunkMarker_ != kChunkTableMarker) {
    numberOfChunks_ = 1;
    chunkSizes_.assign(1, outputValues);
    addChunk(input.getDataDimension(), bytes);
    return result;
  }

  constexpr std::size_t kTableRow = 2 * sizeof(std::uint64_t);
  ContainerCursor cursor(bytes);
  const std::uint64_t count = cursor.readCount(kTableRow);
  if (count > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
    raise<KelborDataException>(": Too many chunks!");
  }
  if (!numberOfChunks_) numberOfChunks_ = count;
  if (count != numberOfChunks_) raise<std::runtime_error>(": Mismatch in number of chunks!");
  std::vector<std::uint64_t> storedSizes(static_cast<std::size_t>(count));
  for (std::uint64_t& size : storedSizes) size = cursor.read<std::uint64_t>();
  chunkSizes_.assign(static_cast<std::size_t>(count), 0);
  for (std::uint64_t& size : chunkSizes_) size = cursor.read<std::uint64_t>();
  result.chunks.reserve(storedSizes.size());
  for (const std::uint64_t storedSize : storedSizes) {
    const std::uint64_t size = cursor.checkCount(storedSize, type.getSize());
    addChunk(DataDimension(type, {size}), cursor.take(size * type.getSize()));
  }
  return result;
}

template <class Out>
bool OmpDecompressionWrapper::runChunks(std::vector<ChunkedInput>& inputs, DataProvider& output) {
  const int threads = Platform::threadCount();
  const ScopedData<Out> values(&output);
  std::uint64_t targetNumberOfValues = 1;
  for (const std::uint64_t extent : targetDimensions_) {
    targetNumberOfValues = checkedProduct(targetNumberOfValues, extent);
  }
  std::uint64_t rest = targetNumberOfValues;
  for (const std::uint64_t size : chunkSizes_) {
    if (size > rest) raise<std::runtime_error>("targetNumberOfValues != sumOfChunkSizes!");
    rest -= size;
  }
  if (rest != 0) raise<std::runtime_error>("targetNumberOfValues != sumOfChunkSizes!");
  if (targetNumberOfValues > values.size()) {
    raise<KelborDataException>(": Output is smaller than its target!");
  }
  inner_->deleteUnreferencedOutputs();

  std::vector<Slice> slices;
  slices.reserve(chunkSizes_.size());
  auto* next = reinterpret_cast<std::byte*>(values.data());
  for (const std::uint64_t size : chunkSizes_) {
    const auto sizeInBytes = static_cast<std::size_t>(size) * sizeof(Out);
    slices.push_back({next, size, sizeInBytes});
    next += sizeInBytes;
  }

  std::atomic<bool> succeeded{true};
  runTeam(slices.size(), threads, [&](std::size_t chunk) {
    bool done = false;
    try {
      done = runChunk<Out>(inputs, chunk, slices[chunk]);
    } catch (...) {
      // Nothing may leave the team; what failed has been logged where it was raised.
    }
    if (!done) succeeded = false;
  });
  return succeeded;
}

template <class Out>
bool OmpDecompressionWrapper::runChunk(std::vector<ChunkedInput>& inputs, std::size_t chunk,
                                       const Slice& slice) const {
  const std::unique_ptr<DataProcedure> clone = inner_->copy();
  if (!clone) {
    logChunkError(kNoClone);
    return false;
  }
  if (!clone->setParameter(kTotalNumberUncompressedElements, slice.valueCount)) {
    logChunkError("Failed to set number of uncompressed elements!");
    return false;
  }
  for (ChunkedInput& input : inputs) {
    clone->connectInput(input.slot, input.chunks[chunk].get());
  }
  clone->setOutputBuffer(0, slice.target, slice.sizeInBytes);
  auto* output = dynamic_cast<DataProvider*>(clone->getOutputProvider(0));
  if (!output) {
    logChunkError("Failed to get output provider!");
    return false;
  }
  const ScopedConstData<Out> values(output);
  if (values.size() != slice.valueCount) {
    logChunkError("Output size is not as expected! This is not supported.");
    return false;
  }
  if (reinterpret_cast<const std::byte*>(values.data()) != slice.target && slice.sizeInBytes > 0) {
    std::memcpy(slice.target, values.data(), slice.sizeInBytes);
  }
  return true;
}

std::unique_ptr<morvex::ProcedureFactory> createParallelWrapperFactory(
    morvex::Deserializer& classStream) {
  if (classStream.nesting >= kMostNestedWrappers) {
    raise<morvex::InternalError>("Wrappers are nested too deeply");
  }
  return std::make_unique<ParallelWrapperFactory>(classStream.context(), classStream.readBytes(),
                                                  classStream.nesting);
}

}  // namespace Kelbor::MathModule

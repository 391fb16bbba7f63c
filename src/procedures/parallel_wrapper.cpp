#include "procedures/parallel_wrapper.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "core/byte_cursor.hpp"
#include "core/checked.hpp"
#include "core/error.hpp"
#include "core/piecewise_source.hpp"
#include "core/scoped_access.hpp"
#include "platform/thread_count.hpp"
#include "procedures/factory_table.hpp"
#include "procedures/team.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr const char* kArbitraryCopy = ": Copying arbitrary providers is not supported!";
constexpr const char* kNoClone = ": Cloning is not implemented for given procedure!";

/// Decoding so many bytes takes a thread some 100 microseconds: several times what it costs to wake
/// it and to wait for it.
constexpr std::uint64_t kBytesWorthAThread = 65536;

/// Deeper than any recipe nests wrappers.
constexpr unsigned kMostNestedWrappers = 8;

class ParallelWrapperFactory final : public morvex::ProcedureFactory {
 public:
  ParallelWrapperFactory(DataManager* context, std::vector<std::byte> innerBlock, unsigned nesting)
      : ProcedureFactory(context), innerBlock_(std::move(innerBlock)), nesting_(nesting) {}

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> sizes,
                                        morvex::Deserializer& parameters) const override {
    if (!innerFactory_) innerFactory_ = readInnerFactory();
    const std::uint32_t singleChunkMarker = parameters.readU32();
    return std::make_unique<OmpDecompressionWrapper>(innerFactory_->create(sizes, parameters),
                                                     sizes, singleChunkMarker);
  }

 private:
  [[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> readInnerFactory() const {
    morvex::Deserializer innerStream(context(), innerBlock_);
    innerStream.classCreators = &allClassCreators();
    innerStream.nesting = nesting_ + 1;
    return morvex::readFactory(innerStream);
  }

  std::vector<std::byte> innerBlock_;
  unsigned nesting_;
  /// Read with the first procedure that is made, where a damaged block is found.
  mutable std::unique_ptr<morvex::ProcedureFactory> innerFactory_;
};

template <class F>
bool visitChunkType(DataType type, F&& f) {
  return visitElement<std::uint8_t, std::int16_t, std::int32_t, std::uint32_t, std::int64_t,
                      std::uint64_t, float>(type, std::forward<F>(f));
}

void logChunkError(const char* message) {
  getLogger().error() << message;
}

/// Refuses a count of items that the bytes left can't hold.
void requireWithin(std::uint64_t count, std::uint64_t width, std::uint64_t bytesLeft) {
  if (count > bytesLeft / width) raise<KelborDataException>("Count exceeds the record");
}

/// A part of a source, fetched when it is needed.
class SliceProvider final : public DataProvider, public PiecewiseSource {
 public:
  SliceProvider(DataManager* context, const DataDimension& dimension, PiecewiseSource& whole,
                std::uint64_t position)
      : DataProvider(context, dimension), whole_(whole), position_(position) {}

  bool prepareContent() override {
    allocateContainer();
    const auto size = static_cast<std::size_t>(getDataDimension().getByteSize());
    return readPiece(0, {getContainer()->getData(), size});
  }
  bool hasPieces() override { return true; }
  bool readPiece(std::uint64_t from, std::span<std::byte> target) override {
    return whole_.readPiece(position_ + from, target);
  }

 private:
  PiecewiseSource& whole_;
  std::uint64_t position_;
};

const DataProcedure& requireInner(const DataProcedure* inner) {
  if (!inner) raise<std::invalid_argument>(kNoClone);
  return *inner;
}

}  // namespace

/// An input and one provider for each chunk of it. Chunks look at the input's content, which is
/// held open, or fetch their own bytes where the input can be had piece by piece.
class OmpDecompressionWrapper::ChunkedInput {
 public:
  ChunkedInput(std::size_t slot, DataProvider& input)
      : slot_(slot), input_(&input), pieces_(piecesOf(input)) {
    if (!pieces_) content_ = std::make_unique<ScopedConstDataAny>(&input);
  }

  [[nodiscard]] std::size_t slot() const noexcept { return slot_; }
  [[nodiscard]] DataProvider& chunk(std::size_t index) { return *chunks_[index]; }
  [[nodiscard]] std::uint64_t size() const { return input_->getDataDimension().getByteSize(); }

  /// The first `count` bytes, or all if there are fewer.
  [[nodiscard]] std::span<const std::byte> front(std::uint64_t count) {
    count = std::min(count, size());
    if (!pieces_) return content_->bytes().first(static_cast<std::size_t>(count));
    front_.resize(static_cast<std::size_t>(count));
    if (!pieces_->readPiece(0, front_)) raise<KelborDataException>(": Failed to read the chunks!");
    return front_;
  }

  /// From the byte `position` on, which lies within the input as a whole.
  void addChunk(const DataDimension& dimension, std::uint64_t position) {
    if (pieces_) {
      chunks_.push_back(
          std::make_unique<SliceProvider>(input_->getContext(), dimension, *pieces_, position));
      return;
    }
    chunks_.push_back(std::make_unique<DataProvider>(input_->getContext(), dimension));
    // Chunks only look at the input's memory; providers know no read-only view of foreign memory.
    chunks_.back()->wrapMemory(const_cast<std::byte*>(content_->data()) + position,
                               dimension.getByteSize());
  }

 private:
  std::size_t slot_;
  DataProvider* input_;
  PiecewiseSource* pieces_;
  std::unique_ptr<ScopedConstDataAny> content_;
  std::vector<std::byte> front_;
  boost::container::small_vector<std::unique_ptr<DataProvider>, 1> chunks_;
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
  makeOutput(0, DataDimension(array->getDataDimension().getDataType(),
                              {targetDimensions_.data(), targetDimensions_.size()}));
}

bool OmpDecompressionWrapper::process(std::int32_t outputIndex) {
  (void)requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  const std::uint64_t outputValues = output.getDataDimension().getNumberOfElements();
  numberOfChunks_.reset();
  Inputs inputs;
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
  ChunkedInput result(slot, input);

  if (singleChunkMarker_ != kChunkTableMarker) {
    numberOfChunks_ = 1;
    chunkSizes_.assign(1, outputValues);
    result.addChunk(input.getDataDimension(), 0);
    return result;
  }

  constexpr std::uint64_t kCountBytes = sizeof(std::uint64_t);
  constexpr std::uint64_t kTableRow = 2 * sizeof(std::uint64_t);
  const auto count = ContainerCursor(result.front(kCountBytes)).read<std::uint64_t>();
  requireWithin(count, kTableRow, result.size() - kCountBytes);
  if (count > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
    raise<KelborDataException>(": Too many chunks!");
  }
  if (!numberOfChunks_) numberOfChunks_ = count;
  if (count != numberOfChunks_) raise<std::runtime_error>(": Mismatch in number of chunks!");
  std::uint64_t position = kCountBytes + count * kTableRow;
  ContainerCursor table(result.front(position));
  (void)table.take(kCountBytes);
  DataDimension::Sizes storedSizes(static_cast<std::size_t>(count));
  for (std::uint64_t& size : storedSizes) size = table.read<std::uint64_t>();
  chunkSizes_.assign(static_cast<std::size_t>(count), 0);
  for (std::uint64_t& size : chunkSizes_) size = table.read<std::uint64_t>();
  for (const std::uint64_t size : storedSizes) {
    requireWithin(size, type.getSize(), result.size() - position);
    result.addChunk(DataDimension(type, {size}), position);
    position += size * type.getSize();
  }
  return result;
}

template <class Out>
bool OmpDecompressionWrapper::runChunks(Inputs& inputs, DataProvider& output) {
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

  boost::container::small_vector<Slice, 1> slices;
  slices.reserve(chunkSizes_.size());
  auto* next = reinterpret_cast<std::byte*>(values.data());
  for (const std::uint64_t size : chunkSizes_) {
    const auto sizeInBytes = static_cast<std::size_t>(size) * sizeof(Out);
    slices.push_back({next, size, sizeInBytes});
    next += sizeInBytes;
  }

  const std::uint64_t worthwhile = targetNumberOfValues * sizeof(Out) / kBytesWorthAThread;
  const auto budget = static_cast<std::uint64_t>(std::max(Platform::threadCount(), 1));
  const int threads = static_cast<int>(std::min(budget, worthwhile));

  std::atomic<bool> succeeded{true};
  const auto work = [&](std::size_t chunk) {
    bool done = false;
    try {
      done = runChunk<Out>(inputs, chunk, slices[chunk]);
    } catch (...) {
      // Nothing may leave the team; what failed has been logged where it was raised.
    }
    if (!done) succeeded = false;
  };
  runTeam(slices.size(), threads, std::ref(work));
  return succeeded;
}

template <class Out>
bool OmpDecompressionWrapper::runChunk(Inputs& inputs, std::size_t chunk,
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
    clone->connectInput(input.slot(), &input.chunk(chunk));
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

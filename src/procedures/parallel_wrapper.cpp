#include "procedures/parallel_wrapper.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>

#include "core/checked.hpp"
#include "core/scoped_access.hpp"
#include "metadata/exception.hpp"
#include "procedures/factory_table.hpp"
#include "procedures/joint_decoder.hpp"
#include "procedures/team.hpp"
#include "recipes/parameter_blocks.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr const char* kArbitraryCopy = ": Copying arbitrary providers is not supported!";
constexpr const char* kNoClone = ": Cloning is not implemented for given procedure!";

/// 64 KiB: decoding that takes about 100 us, several times a thread's wake-up cost.
constexpr std::uint64_t kBytesWorthAThread = 65536;

/// More than any recipe nests: bounds the recursion on a damaged one.
constexpr unsigned kMostNestedWrappers = 8;

class OmpDecompressionWrapperFactory final : public morvex::ProcedureFactory {
 public:
  OmpDecompressionWrapperFactory(DataManager* context, std::vector<std::byte> innerBlock,
                                 unsigned nesting)
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
  /// Read when the first procedure is made: a damaged inner block fails only if it is used.
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

/// The lanes of a thread for its share of the chunks: no more than divide it evenly, so that they run
/// dry at the same time.
std::size_t lanesFor(std::size_t share) {
  const std::size_t rounds = (share + Inflate::kMostLanes - 1) / Inflate::kMostLanes;
  return rounds == 0 ? 0 : (share + rounds - 1) / rounds;
}

const DataProcedure& requireInner(const DataProcedure* inner) {
  if (!inner) raise<std::invalid_argument>(kNoClone);
  return *inner;
}

/// Reads a clone's output and copies it into the slice, if it was not made there.
template <class Out, class Slice>
bool takeOutput(DataProcedure& clone, const Slice& slice) {
  auto* output = dynamic_cast<DataProvider*>(clone.getOutputProvider(0));
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

}  // namespace

/// Takes chunks on one thread until none is left. Those of a JointDecoder run in the lanes of one
/// loop; others, and a lone chunk, decode when their output is read. Outputs are read in the order
/// of the chunks. A chunk that fails drops out; the others continue, so the log names every failure.
template <class Out>
class OmpDecompressionWrapper::Worker final : public Inflate::PlaneJobs {
 public:
  /// All arguments are borrowed. `nextChunk`: the first chunk that no thread has taken.
  Worker(const OmpDecompressionWrapper& wrapper, Inputs& inputs, std::span<const Slice> slices,
         std::atomic<std::size_t>& nextChunk)
      : wrapper_(wrapper), inputs_(inputs), slices_(slices), nextChunk_(nextChunk) {}

  /// False if a chunk failed.
  [[nodiscard]] bool run(std::size_t lanes) {
    if (slices_.size() > 1 && dynamic_cast<const JointDecoder*>(wrapper_.inner_.get())) {
      Inflate::decodePlaneChunks(*this, lanes);
    } else {
      while (const std::optional<std::size_t> chunk = takeChunk()) {
        guarded([&] { return add(*chunk); });
        readOutputs();
      }
    }
    return succeeded_;
  }

  Inflate::PlaneJob* next() noexcept override {
    while (const std::optional<std::size_t> chunk = takeChunk()) {
      if (guarded([&] { return add(*chunk) && open(running_.back()); })) return running_.back().job;
      if (!running_.empty() && running_.back().chunk == *chunk) running_.pop_back();
    }
    return nullptr;
  }

  void end(Inflate::PlaneJob& job) noexcept override {
    const auto ended = std::ranges::find(running_, &job, &Running::job);
    ended->decoder->closeJob();
    ended->job = nullptr;
    readOutputs();
  }

 private:
  struct Running {
    std::size_t chunk;
    std::unique_ptr<DataProcedure> clone;
    JointDecoder* decoder = nullptr;
    Inflate::PlaneJob* job = nullptr;  ///< null if nothing is to be done before the output is read
  };

  [[nodiscard]] std::optional<std::size_t> takeChunk() noexcept {
    const std::size_t chunk = nextChunk_++;
    if (chunk >= slices_.size()) return std::nullopt;
    return chunk;
  }

  [[nodiscard]] bool add(std::size_t chunk) {
    std::unique_ptr<DataProcedure> clone = wrapper_.cloneFor(inputs_, chunk, slices_[chunk]);
    if (!clone) return false;
    running_.push_back({chunk, std::move(clone)});
    return true;
  }

  [[nodiscard]] bool open(Running& running) {
    const Slice& slice = slices_[running.chunk];
    running.decoder = dynamic_cast<JointDecoder*>(running.clone.get());
    running.job = &running.decoder->openJob({slice.target, slice.sizeInBytes});
    return true;
  }

  void readOutputs() noexcept {
    while (!running_.empty() && !running_.front().job) {
      guarded([&] {
        return takeOutput<Out>(*running_.front().clone, slices_[running_.front().chunk]);
      });
      running_.erase(running_.begin());
    }
  }

  /// An exception must not leave the team. It has been logged where it was raised.
  template <class Step>
  bool guarded(Step&& step) noexcept {
    bool isDone = false;
    try {
      isDone = step();
    } catch (...) {
    }
    if (!isDone) succeeded_ = false;
    return isDone;
  }

  const OmpDecompressionWrapper& wrapper_;
  Inputs& inputs_;
  std::span<const Slice> slices_;
  std::atomic<std::size_t>& nextChunk_;
  boost::container::small_vector<Running, 1> running_;  ///< in the order of chunks
  bool succeeded_ = true;
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
  numberOfChunks_ = 0;
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

ChunkedInput OmpDecompressionWrapper::readChunks(std::size_t slot, std::uint64_t outputValues) {
  DataProvider& input = requireInput(slot);
  const DataType type = input.getDataDimension().getDataType();
  if (!visitChunkType(type, [](auto) {})) raiseUnhandledType(type);
  ChunkedInput result(slot, input);
  if (singleChunkMarker_ == morvex::kChunkTableMarker) {
    chunkSizes_ = result.readTable(numberOfChunks_);
    numberOfChunks_ = chunkSizes_.size();
  } else {
    numberOfChunks_ = 1;
    chunkSizes_.assign(1, outputValues);
    result.takeWhole();
  }
  return result;
}

template <class Out>
bool OmpDecompressionWrapper::runChunks(Inputs& inputs, DataProvider& output) {
  // Each chunk decodes into its own slice of the output, so nothing is copied or merged afterwards.
  // The sizes come from the file: they must fill the target exactly before any slice is made.
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
  const auto budget = static_cast<std::uint64_t>(getContext()->threadBudget());
  const int threads = static_cast<int>(std::min(budget, worthwhile));

  const std::size_t chunks = slices.size();
  const std::size_t workers = std::min(chunks, static_cast<std::size_t>(std::max(threads, 1)));
  const std::size_t lanes = lanesFor(workers == 0 ? 0 : (chunks + workers - 1) / workers);
  std::atomic<std::size_t> nextChunk{0};
  std::atomic<bool> succeeded{true};
  const auto work = [&](std::size_t) {
    Worker<Out> worker(*this, inputs, {slices.data(), chunks}, nextChunk);
    if (!worker.run(lanes)) succeeded = false;
  };
  runTeam(workers, threads, std::ref(work));
  return succeeded;
}

/// A copy of the inner procedure, connected to a chunk and its slice. Null, after an ERROR line, on
/// failure.
std::unique_ptr<DataProcedure> OmpDecompressionWrapper::cloneFor(Inputs& inputs, std::size_t chunk,
                                                                 const Slice& slice) const {
  std::unique_ptr<DataProcedure> clone = inner_->copy();
  if (!clone) {
    logChunkError(kNoClone);
    return nullptr;
  }
  if (!clone->setParameter(kTotalNumberUncompressedElements, slice.valueCount)) {
    logChunkError("Failed to set number of uncompressed elements!");
    return nullptr;
  }
  for (ChunkedInput& input : inputs) {
    if (DataProvider* part = input.chunk(chunk)) clone->connectInput(input.slot(), part);
  }
  clone->setOutputBuffer(0, slice.target, slice.sizeInBytes);
  return clone;
}

std::unique_ptr<morvex::ProcedureFactory> createParallelWrapperFactory(
    morvex::Deserializer& classStream) {
  if (classStream.nesting >= kMostNestedWrappers) {
    raise<morvex::InternalError>("Wrappers are nested too deeply");
  }
  return std::make_unique<OmpDecompressionWrapperFactory>(
      classStream.context(), classStream.readBytes(), classStream.nesting);
}

}  // namespace Kelbor::MathModule

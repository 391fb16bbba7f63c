#include "procedures/chunked_zlib.hpp"

#include "inflate/plane_chunks.hpp"

namespace Kelbor::MathModule {
namespace {

/// Makes either kind.
template <class Procedure>
class ChunkedZlibFactory final : public morvex::ProcedureFactory {
 public:
  using ProcedureFactory::ProcedureFactory;

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> sizes,
                                        morvex::Deserializer& parameters) const override {
    const DataType targetDataType{parameters.readI32()};
    const auto chunkSizeInBytes = static_cast<std::uint32_t>(parameters.readU64());
    return std::make_unique<Procedure>(context(), sizes, targetDataType, chunkSizeInBytes);
  }
};

using ChunkedZlibDecompressionWrapperFactory = ChunkedZlibFactory<ChunkedZlibDecompressionWrapper>;
using ChunkedZlibTreeDecompressionWrapperFactory =
    ChunkedZlibFactory<ChunkedZlibTreeDecompressionWrapper>;

}  // namespace

/// Borrowed by an open job.
struct ChunkedZlibProcedure::OpenJob {
  OpenJob(ChunkedZlibProcedure& procedure, std::span<std::byte> target)
      : memory(target.data()),
        stream(procedure.requireInput(0), procedure.lookAhead()),
        composer(makePlaneComposer(procedure.targetDataType(), target, procedure.mode())),
        swap(procedure.getContext(), procedure.geometryOf(target.size()).workBytes),
        job{&stream.input(), swap.bytes(), procedure.geometryOf(target.size()), composer.get()} {}

  const std::byte* memory;
  StreamAccess stream;
  std::unique_ptr<Inflate::PlaneSink> composer;
  SwapBuffer swap;
  Inflate::PlaneJob job;
};

ChunkedZlibProcedure::ChunkedZlibProcedure(DataManager* context,
                                           std::span<const std::uint64_t> targetDimensions,
                                           DataType targetDataType, std::uint32_t chunkSizeInBytes,
                                           PlaneMode mode)
    : PlaneStreamProcedure(context, targetDimensions, targetDataType, mode, chunkSizeInBytes,
                           ": chunkSizeInBytes>=2^31"),
      chunkSizeInBytes_(chunkSizeInBytes) {}

ChunkedZlibProcedure::~ChunkedZlibProcedure() = default;

std::uint64_t ChunkedZlibProcedure::lookAhead() const {
  return Inflate::PlaneChunkGeometry::of(chunkSizeInBytes_, targetDataType().getSize(), 0)
      .inputBound;
}

Inflate::PlaneChunkGeometry ChunkedZlibProcedure::geometryOf(std::size_t sizeInBytes) const {
  const std::size_t width = targetDataType().getSize();
  return Inflate::PlaneChunkGeometry::of(chunkSizeInBytes_, width, sizeInBytes / width);
}

StreamOutcome ChunkedZlibProcedure::decode(Inflate::StreamInput& stream,
                                           const PlaneTarget& target) {
  const auto geometry = geometryOf(target.memory.size());
  SwapBuffer swap(getContext(), geometry.workBytes);
  Inflate::PlaneJob job{&stream, swap.bytes(), geometry, &target.sink};
  Inflate::decodePlaneChunks(job);
  return outcomeOf(job.result);
}

Inflate::PlaneJob& ChunkedZlibProcedure::openJob(std::span<std::byte> memory) {
  openJob_ = std::make_unique<OpenJob>(*this, memory);
  return openJob_->job;
}

void ChunkedZlibProcedure::closeJob() noexcept {
  decoded_ = Decoded{openJob_->memory, openJob_->job.result};
  openJob_.reset();
}

std::unique_ptr<DataProcedure> ChunkedZlibDecompressionWrapper::clone() const {
  return std::make_unique<ChunkedZlibDecompressionWrapper>(getContext(), targetDimensions(),
                                                           targetDataType(), chunkSizeInBytes());
}

std::unique_ptr<DataProcedure> ChunkedZlibTreeDecompressionWrapper::clone() const {
  return std::make_unique<ChunkedZlibTreeDecompressionWrapper>(
      getContext(), targetDimensions(), targetDataType(), chunkSizeInBytes());
}

std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<ChunkedZlibDecompressionWrapperFactory>(classStream.context());
}

std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibTreeFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<ChunkedZlibTreeDecompressionWrapperFactory>(classStream.context());
}

}  // namespace Kelbor::MathModule

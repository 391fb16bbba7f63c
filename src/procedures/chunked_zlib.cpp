#include "procedures/chunked_zlib.hpp"

#include "procedures/kernels/inflate_stream.hpp"

namespace Kelbor::MathModule {
namespace {

class ChunkedZlibFactory final : public morvex::ProcedureFactory {
 public:
  ChunkedZlibFactory(DataManager* context, Kernels::PlaneMode mode)
      : ProcedureFactory(context), mode_(mode) {}

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> sizes,
                                        morvex::Deserializer& parameters) const override {
    const DataType targetDataType{parameters.readI32()};
    const auto chunkSizeInBytes = static_cast<std::uint32_t>(parameters.readU64());
    return std::make_unique<ChunkedZlibDecompressionWrapper>(context(), sizes, targetDataType,
                                                             chunkSizeInBytes, mode_);
  }

 private:
  Kernels::PlaneMode mode_;
};

}  // namespace

ChunkedZlibDecompressionWrapper::ChunkedZlibDecompressionWrapper(
    DataManager* context, std::span<const std::uint64_t> targetDimensions, DataType targetDataType,
    std::uint32_t chunkSizeInBytes, Kernels::PlaneMode mode)
    : PlaneStreamProcedure(context, targetDimensions, targetDataType, chunkSizeInBytes,
                           ": chunkSizeInBytes>=2^31"),
      chunkSizeInBytes_(chunkSizeInBytes),
      mode_(mode) {}

std::unique_ptr<DataProcedure> ChunkedZlibDecompressionWrapper::clone() const {
  return std::make_unique<ChunkedZlibDecompressionWrapper>(
      getContext(), targetDimensions(), targetDataType(), chunkSizeInBytes_, mode_);
}

std::uint64_t ChunkedZlibDecompressionWrapper::lookAhead() const {
  return Kernels::PlaneChunkGeometry::of(chunkSizeInBytes_, targetDataType().getSize(), 0)
      .inputBound;
}

StreamOutcome ChunkedZlibDecompressionWrapper::decode(Platform::StreamInput& stream,
                                                      PlaneTarget target) {
  return std::visit(
      [&](auto values) {
        using Value = typename decltype(values)::value_type;
        const auto geometry =
            Kernels::PlaneChunkGeometry::of(chunkSizeInBytes_, sizeof(Value), values.size());
        const bool isOneChunk = geometry.chunkCount == 1;
        SwapBuffer swap(getContext(),
                        geometry.swapBytes + (isOneChunk ? Kernels::kSwapRoomBehind : 0));
        const Kernels::InflateResult result =
            Kernels::decodePlaneChunks(stream, values, swap.bytes(), geometry, mode_);
        if (!result.streamReady) raiseStreamNotReady();
        return StreamOutcome{result.ok, result.decodedBytes};
      },
      target);
}

std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<ChunkedZlibFactory>(classStream.context(),
                                              Kernels::PlaneMode::RunningSum);
}

std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibTreeFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<ChunkedZlibFactory>(classStream.context(), Kernels::PlaneMode::Plain);
}

}  // namespace Kelbor::MathModule

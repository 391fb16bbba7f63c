#include "procedures/window_zlib.hpp"

#include <algorithm>

#include "core/log.hpp"
#include "inflate/windowed_planes.hpp"

namespace Kelbor::MathModule {

WindowZlibDecompression::WindowZlibDecompression(DataManager* context,
                                                 std::span<const std::uint64_t> targetDimensions,
                                                 DataType targetDataType,
                                                 std::uint32_t windowSizeInBytes)
    : PlaneStreamProcedure(context, targetDimensions, targetDataType, PlaneMode::kRunningSum,
                           windowSizeInBytes, ": windowSizeInBytes>=2^31"),
      windowSizeInBytes_(windowSizeInBytes) {}

std::unique_ptr<DataProcedure> WindowZlibDecompression::clone() const {
  return std::make_unique<WindowZlibDecompression>(getContext(), targetDimensions(),
                                                   targetDataType(), windowSizeInBytes_);
}

StreamOutcome WindowZlibDecompression::decode(Inflate::StreamInput& input,
                                              const PlaneTarget& target) {
  const std::span<const std::byte> stream = input.ahead(input.size());
  if (stream.empty()) {
    getLogger().debug() << ": Processing empty dataset";
    std::ranges::fill(target.memory, std::byte{0});
    return {true, std::nullopt};
  }
  SwapBuffer swap(getContext(), target.memory.size());
  const Inflate::InflateResult result =
      Inflate::inflateWindowedPlanes(stream, swap.bytes(), windowSizeInBytes_);
  const StreamOutcome outcome = outcomeOf(result);
  if (outcome.ok) {
    const std::uint64_t whole = result.decodedBytes / target.width * target.width;
    target.sink.take(0, swap.bytes().first(static_cast<std::size_t>(whole)));
  }
  return outcome;
}

}  // namespace Kelbor::MathModule

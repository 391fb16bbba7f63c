#include "procedures/window_zlib.hpp"

#include <algorithm>

#include "core/log.hpp"
#include "procedures/kernels/inflate_stream.hpp"

namespace Kelbor::MathModule {

WindowZlibDecompression::WindowZlibDecompression(DataManager* context,
                                                 std::span<const std::uint64_t> targetDimensions,
                                                 DataType targetDataType,
                                                 std::uint32_t windowSizeInBytes)
    : PlaneStreamProcedure(context, targetDimensions, targetDataType, windowSizeInBytes,
                           ": windowSizeInBytes>=2^31"),
      windowSizeInBytes_(windowSizeInBytes) {}

std::unique_ptr<DataProcedure> WindowZlibDecompression::clone() const {
  return std::make_unique<WindowZlibDecompression>(getContext(), targetDimensions(),
                                                   targetDataType(), windowSizeInBytes_);
}

StreamOutcome WindowZlibDecompression::decode(Platform::StreamInput& input, PlaneTarget target) {
  const std::span<const std::byte> stream = input.ahead(input.size());
  return std::visit(
      [&](auto values) {
        if (stream.empty()) {
          getLogger().debug() << ": Processing empty dataset";
          std::ranges::fill(values, typename decltype(values)::value_type{0});
          return StreamOutcome{true, std::nullopt};
        }
        SwapBuffer swap(getContext(), values.size_bytes());
        const Kernels::InflateResult result =
            Kernels::decodeWindowedPlanes(stream, values, swap.bytes(), windowSizeInBytes_);
        if (!result.streamReady) raiseStreamNotReady();
        return StreamOutcome{result.ok, result.decodedBytes};
      },
      target);
}

}  // namespace Kelbor::MathModule

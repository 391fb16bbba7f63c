#pragma once

#include "procedures/plane_stream.hpp"

namespace Kelbor::MathModule {

/// Inflates a stream that holds all values in one set of byte planes through a swap buffer of the
/// dataset's size, undoes the zigzag mapping and sums up. Has no factory: the id-window chain
/// makes it.
class WindowZlibDecompression final : public PlaneStreamProcedure {
 public:
  /// At most `windowSizeInBytes` of the stream are handed to zlib at a time. Exception
  /// ": windowSizeInBytes>=2^31".
  WindowZlibDecompression(DataManager* context, std::span<const std::uint64_t> targetDimensions,
                          DataType targetDataType, std::uint32_t windowSizeInBytes);

  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;

 private:
  /// An empty stream succeeds: the output keeps its shape and is filled with zeros.
  StreamOutcome decode(Platform::StreamInput& stream, PlaneTarget target) override;

  std::uint32_t windowSizeInBytes_;
};

}  // namespace Kelbor::MathModule

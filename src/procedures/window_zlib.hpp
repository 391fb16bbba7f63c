#pragma once

#include "procedures/plane_stream.hpp"

namespace Kelbor::MathModule {

/// Inflates a stream that holds all values in one set of byte planes, through a swap buffer of the
/// dataset's size, and sums them as differences. Has no factory: the id-window chain makes it.
class WindowZlibDecompression final : public PlaneStreamProcedure {
 public:
  /// zlib gets at most `windowSizeInBytes` of the stream per call. Exception
  /// ": windowSizeInBytes>=2^31".
  WindowZlibDecompression(DataManager* context, std::span<const std::uint64_t> targetDimensions,
                          DataType targetDataType, std::uint32_t windowSizeInBytes);

  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;

 private:
  /// An empty stream succeeds: the output keeps its shape and is filled with zeros.
  StreamOutcome decode(Inflate::StreamInput& stream, const PlaneTarget& target) override;

  std::uint32_t windowSizeInBytes_;
};

}  // namespace Kelbor::MathModule

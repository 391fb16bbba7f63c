#pragma once

#include "procedures/kernels/inflate_stream.hpp"
#include "procedures/plane_stream.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Inflates a stream of byte planes chunk by chunk through a small swap buffer, puts each value
/// together from its planes, undoes the zigzag mapping and, where values are differences, sums up;
/// where they are not, a later stage does that.
class ChunkedZlibDecompressionWrapper final : public PlaneStreamProcedure {
 public:
  /// `chunkSizeInBytes` of inflated data make one plane chunk. Exception ":
  /// chunkSizeInBytes>=2^31".
  ChunkedZlibDecompressionWrapper(DataManager* context,
                                  std::span<const std::uint64_t> targetDimensions,
                                  DataType targetDataType, std::uint32_t chunkSizeInBytes,
                                  Kernels::PlaneMode mode);

  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;

 private:
  StreamOutcome decode(Platform::StreamInput& stream, PlaneTarget target) override;
  [[nodiscard]] std::uint64_t lookAhead() const override;

  std::uint32_t chunkSizeInBytes_;
  Kernels::PlaneMode mode_;
};

/// Creators for tags 1001 (running sum) and 1009 (plain). Parameters: u32 target type, u64 of which
/// the low 32 bits are the chunk size in bytes.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibFactory(
    morvex::Deserializer& classStream);
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibTreeFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

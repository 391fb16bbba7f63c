#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "procedures/joint_decoder.hpp"
#include "procedures/plane_stream.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Inflates a stream of byte planes chunk by chunk through a small swap buffer and decodes each
/// chunk. Base of the two kinds below.
class ChunkedZlibProcedure : public PlaneStreamProcedure, public JointDecoder {
 public:
  ~ChunkedZlibProcedure() override;

  [[nodiscard]] Inflate::PlaneJob& openJob(std::span<std::byte> memory) override;
  void closeJob() noexcept override;

 protected:
  /// `chunkSizeInBytes`: inflated bytes of a plane chunk. Exception ": chunkSizeInBytes>=2^31".
  ChunkedZlibProcedure(DataManager* context, std::span<const std::uint64_t> targetDimensions,
                       DataType targetDataType, std::uint32_t chunkSizeInBytes, PlaneMode mode);

  [[nodiscard]] std::uint32_t chunkSizeInBytes() const noexcept { return chunkSizeInBytes_; }

 private:
  struct OpenJob;

  std::optional<Decoded> takeDecoded() override { return std::exchange(decoded_, std::nullopt); }
  StreamOutcome decode(Inflate::StreamInput& stream, const PlaneTarget& target) override;
  [[nodiscard]] std::uint64_t lookAhead() const override;

  [[nodiscard]] Inflate::PlaneChunkGeometry geometryOf(std::size_t sizeInBytes) const;

  std::uint32_t chunkSizeInBytes_;
  std::unique_ptr<OpenJob> openJob_;
  std::optional<Decoded> decoded_;  ///< by a job that was closed
};

/// For stored differences of neighbours, which it sums up.
class ChunkedZlibDecompressionWrapper final : public ChunkedZlibProcedure {
 public:
  ChunkedZlibDecompressionWrapper(DataManager* context,
                                  std::span<const std::uint64_t> targetDimensions,
                                  DataType targetDataType, std::uint32_t chunkSizeInBytes)
      : ChunkedZlibProcedure(context, targetDimensions, targetDataType, chunkSizeInBytes,
                             PlaneMode::kRunningSum) {}

  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
};

/// For stored values that are not differences of neighbours. If they are differences along a tree,
/// a later procedure sums them up.
class ChunkedZlibTreeDecompressionWrapper final : public ChunkedZlibProcedure {
 public:
  ChunkedZlibTreeDecompressionWrapper(DataManager* context,
                                      std::span<const std::uint64_t> targetDimensions,
                                      DataType targetDataType, std::uint32_t chunkSizeInBytes)
      : ChunkedZlibProcedure(context, targetDimensions, targetDataType, chunkSizeInBytes,
                             PlaneMode::kPlain) {}

  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
};

/// Creators for tags 1001 (running sum) and 1009 (plain). Parameters: u32 target type, u64 whose
/// low 32 bits are the chunk size in bytes.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibFactory(
    morvex::Deserializer& classStream);
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createChunkedZlibTreeFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

#pragma once

#include <vector>

#include "procedures/decoder.hpp"
#include "procedures/id_window_reconstruction.hpp"
#include "procedures/plane_composition.hpp"
#include "procedures/window_zlib.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Rebuilds a list of ids from two zlib streams of byte planes, back references (input 0) and new
/// ids (input 1), both UInt8. A composite of four procedures, whose outer providers it borrows as
/// its own.
///
///   input 0 -> DecoderZlib -> BytePlaneComposition --+
///                                                    +--> IdWindowReconstruction -> output 0
///   input 1 -> WindowZlibDecompression --------------+
class IdWindowZlibDecompressionChain final : public DataProcedure {
 public:
  /// std::runtime_error "Invalid target type!" unless Int32, UInt32, Int64 or UInt64.
  IdWindowZlibDecompressionChain(DataManager* context, std::uint32_t idWindowMethod,
                                 std::span<const std::uint64_t> targetDimensions,
                                 DataType targetDataType);
  ~IdWindowZlibDecompressionChain() override;

  void connectInput(std::size_t slot, Provider* provider) override;
  void disconnectInput(std::size_t slot) override;
  bool deleteUnreferencedOutputs() override;
  bool process(std::int32_t outputIndex) override;
  bool setOutputBuffer(std::size_t outputIndex, void* memory, std::uint64_t sizeInBytes) override;
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  /// Accepts kTotalNumberUncompressedElements: the number of ids in the output. The number of new
  /// ids follows from their stream alone.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 private:
  std::uint32_t idWindowMethod_;
  std::vector<std::uint64_t> targetDimensions_;
  DataType targetDataType_;
  // Declared in the order of the flow, so destroyed from the reconstruction up to the sources.
  DecoderZlib decoder_;
  BytePlaneComposition bytePlanes_;
  WindowZlibDecompression newIds_;
  IdWindowReconstruction reconstruction_;
};

/// Creator for tag 1004. Parameters: u32 method, u32 target type.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createIdWindowChainFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

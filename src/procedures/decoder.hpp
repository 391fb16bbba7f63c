#pragma once

#include "core/procedure.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Inflates a zlib stream (input 0, UInt8) directly into an array (output 0: UInt8, Int32, UInt32,
/// Int64, UInt64, Float or Double). The inflated bytes are the values as they are in memory.
class DecoderZlib final : public DataProcedure {
 public:
  /// `uncompressedSize` is the expected size of the inflated data in bytes.
  DecoderZlib(DataManager* context, std::uint64_t uncompressedSize, DataType targetDataType);

  void connectInput(std::size_t slot, Provider* provider) override;
  /// A stream shorter than expected shrinks the output. An empty one leaves its size and fills it
  /// with zeros. KelborDataException with zlib's reason for a stream that is damaged or too long.
  bool process(std::int32_t outputIndex) override;
  /// The clone's output is UInt8 whatever the original's type.
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  /// Accepts kTotalNumberUncompressedElements: the expected size in bytes.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 private:
  std::uint64_t uncompressedSize_;
  DataType targetDataType_;
};

/// Creator for tag 1006. Parameters: u32 target type; the expected size is that of all extents.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createDecoderZlibFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

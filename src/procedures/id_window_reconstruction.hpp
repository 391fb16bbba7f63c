#pragma once

#include "core/procedure.hpp"

namespace Kelbor::MathModule {

/// Joins back references (input 0) and new ids (input 1) to a list of ids (output 0). Int32, Int64,
/// UInt32 or UInt64, the same type for all three.
class IdWindowReconstruction final : public DataProcedure {
 public:
  /// Methods 0 and 3 are synonyms. Any other is logged here and refused by process().
  IdWindowReconstruction(DataManager* context, std::uint32_t idWindowMethod);

  void connectInput(std::size_t slot, Provider* provider) override;
  /// KelborDataException for references that point outside the list and for too few new ids.
  bool process(std::int32_t outputIndex) override;
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  void updateOutputDimensionsFromProcessedInput() override;
  /// Accepts kTotalNumberUncompressedElements, which has no effect.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 private:
  std::uint32_t idWindowMethod_;
};

}  // namespace Kelbor::MathModule

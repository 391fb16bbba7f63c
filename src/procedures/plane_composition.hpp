#pragma once

#include "core/procedure.hpp"

namespace Kelbor::MathModule {

/// Composes values from byte planes (input 0, UInt8; output 0: Int16, UInt16, Int32, UInt32, Int64
/// or UInt64), without zigzag and without sums. Has no factory: the id-window chain makes it.
class BytePlaneComposition final : public DataProcedure {
 public:
  BytePlaneComposition(DataManager* context, DataType targetDataType);

  /// std::invalid_argument for an input that isn't bytes, Exception for one that is no whole number
  /// of values. After either, the slot is free again.
  void connectInput(std::size_t slot, Provider* provider) override;
  /// Sizes the output by the input's final size.
  bool process(std::int32_t outputIndex) override;
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;

 private:
  DataType targetDataType_;
};

}  // namespace Kelbor::MathModule

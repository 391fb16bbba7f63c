#pragma once

#include "core/procedure.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Base of all sums: input 0 holds differences, output 0 has its type and shape. Arithmetic wraps
/// in the width of the elements.
class SumsProcedure : public DataProcedure {
 public:
  void updateOutputDimensionsFromProcessedInput() override;

 protected:
  using DataProcedure::DataProcedure;
};

/// Undoes differences along the whole array. All integer types.
class SimpleSums final : public SumsProcedure {
 public:
  explicit SimpleSums(DataManager* context) : SumsProcedure(context, 1, 1) {}

  void connectInput(std::size_t slot, Provider* provider) override;
  bool process(std::int32_t outputIndex) override;
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  bool setParameter(std::string_view key, std::uint64_t value) override;
};

/// Undoes differences between blocks of equal size. All integer types.
class OffsetSums final : public SumsProcedure {
 public:
  OffsetSums(DataManager* context, std::uint64_t numberOfBlocks)
      : SumsProcedure(context, 1, 1), numberOfBlocks_(numberOfBlocks) {}

  void connectInput(std::size_t slot, Provider* provider) override;
  /// Exception "Offset sums failed due to incompatible numbers!" if the blocks don't divide the
  /// values; KelborDataException for 0 blocks.
  bool process(std::int32_t outputIndex) override;
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
  bool setParameter(std::string_view key, std::uint64_t value) override;

 private:
  std::uint64_t numberOfBlocks_;
};

/// Adds a reference array (input 1), or the mean of two (inputs 1 and 2), to differences (input 0).
/// All have the same type and size, else Exception ": inhomogeneous input provider(s)!". 8, 32 and
/// 64-bit integers.
class VectorSums final : public SumsProcedure {
 public:
  explicit VectorSums(DataManager* context) : SumsProcedure(context, 3, 1) {}

  void connectInput(std::size_t slot, Provider* provider) override;
  bool process(std::int32_t outputIndex) override;
  void updateOutputDimensionsFromProcessedInput() override;
};

/// Undoes differences along the edges of trees: one difference per node (input 0), pairs of parent
/// and child (input 1, Int32), the first edge of each tree (input 2, UInt64). 8, 32 and 64-bit
/// integers. Nodes that no tree reaches keep their input. KelborDataException for a node or a tree
/// outside the data.
class TreeSums final : public SumsProcedure {
 public:
  explicit TreeSums(DataManager* context) : SumsProcedure(context, 3, 1) {}

  void connectInput(std::size_t slot, Provider* provider) override;
  bool process(std::int32_t outputIndex) override;
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override;
};

/// Creators for tags 1003, 1010, 1007 and 1008. OffsetSums reads a u64 numberOfBlocks from the
/// parameters, the others read nothing.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createSimpleSumsFactory(
    morvex::Deserializer& classStream);
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createOffsetSumsFactory(
    morvex::Deserializer& classStream);
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createVectorSumsFactory(
    morvex::Deserializer& classStream);
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createTreeSumsFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

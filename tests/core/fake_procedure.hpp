#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/procedure.hpp"
#include "core/scoped_access.hpp"
#include "support/message_of.hpp"

namespace Kelbor {

/// Doubles Int32 values into TOut, in place where it may, and counts what happens to it.
template <class TOut>
class DoublingProcedure : public DataProcedure {
 public:
  enum class Outcome { kGood, kRefuses, kThrows };

  explicit DoublingProcedure(DataManager* context, std::shared_ptr<int> endings = nullptr)
      : DataProcedure(context, 1, 1), endings_(std::move(endings)) {}
  ~DoublingProcedure() override {
    if (endings_) ++*endings_;
  }

  void connectInput(std::size_t slot, Provider* provider) override {
    DataProcedure::connectInput(slot, provider);
    if (!hasOutputProvider(0)) makeOutput(0, shapeOf(requireInput(0)));
  }
  bool process(std::int32_t outputIndex) override {
    ++runs;
    const ScopedDataInsitu<std::int32_t, TOut> access(&requireInput(0),
                                                      &requireOutput(outputIndex));
    workedInPlace = static_cast<const void*>(access.input().data()) == access.output().data();
    for (std::size_t i = 0; i < access.input().size(); ++i) {
      access.output()[i] = static_cast<TOut>(2 * access.input()[i]);
    }
    if (outcome == Outcome::kThrows) throw std::runtime_error("as told");
    return outcome == Outcome::kGood;
  }
  void updateOutputDimensionsFromProcessedInput() override {
    setOutputDimension(requireOutput(0), shapeOf(requireInput(0)));
  }
  [[nodiscard]] std::unique_ptr<DataProcedure> clone() const override {
    return std::make_unique<DoublingProcedure>(getContext(), endings_);
  }

  [[nodiscard]] DataProvider& output() const { return requireOutput(0); }

  Outcome outcome = Outcome::kGood;
  int runs = 0;
  bool workedInPlace = false;

 private:
  static DataDimension shapeOf(const DataProvider& input) {
    return {dataTypeOf<TOut>(), input.getDataDimension().getSizes()};
  }

  std::shared_ptr<int> endings_;
};

using Doubling = DoublingProcedure<std::int32_t>;
using WideDoubling = DoublingProcedure<std::int64_t>;

[[nodiscard]] inline std::unique_ptr<DataProvider> emptyInts(DataManager& manager,
                                                             std::uint64_t count) {
  return std::make_unique<DataProvider>(&manager, DataDimension(DataTypes::kInt32, {count}));
}

inline void fill(DataProvider& provider, std::initializer_list<std::int32_t> values) {
  const ScopedData<std::int32_t> access(&provider);
  std::copy(values.begin(), values.end(), access.view().begin());
}

[[nodiscard]] inline std::unique_ptr<DataProvider> filledInts(
    DataManager& manager, std::initializer_list<std::int32_t> values) {
  auto provider = emptyInts(manager, values.size());
  fill(*provider, values);
  return provider;
}

template <class T = std::int32_t>
[[nodiscard]] std::vector<T> valuesOf(DataProvider& provider) {
  const ScopedConstData<T> access(&provider);
  return {access.view().begin(), access.view().end()};
}

}  // namespace Kelbor

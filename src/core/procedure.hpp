#pragma once

#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "core/provider.hpp"

namespace Kelbor {

/// The key under which a wrapper tells an inner procedure how many values to make.
inline constexpr std::string_view kTotalNumberUncompressedElements =
    "totalNumberUncompressedElements";

/// A processing node of the graph: input slots that borrow other nodes' providers and output slots
/// that own their own. Nothing runs by itself; reading an output pulls. A procedure is built,
/// connected, and may then run any number of times: it has no state of a run.
class DataProcedure : public Producer {
 public:
  /// std::runtime_error "NULL Context!", std::invalid_argument for no inputs or no outputs.
  DataProcedure(DataManager* context, std::size_t numberOfSources, std::size_t numberOfProviders);

  // The positions of the virtual operations are fixed, the reserved ones included.

  /// Releases the inputs. Aborts the process if an output is still read by somebody: a graph is
  /// torn down from its last procedure to its first.
  ~DataProcedure() override;
  /// Borrows the provider for a slot and counts the reference. std::invalid_argument for a slot out
  /// of range or taken. Procedures override it to derive their outputs, and call this first.
  virtual void connectInput(std::size_t slot, Provider* provider);
  /// std::invalid_argument for a slot out of range or empty.
  virtual void disconnectInput(std::size_t slot);
  /// True if no output had to be kept for a reader.
  virtual bool deleteUnreferencedOutputs();
  /// Reserved; does nothing. The position is fixed.
  virtual void reset() {}
  bool process(std::int32_t outputIndex) override = 0;
  /// Lets an output land in the caller's memory, which must outlive it. Exception or
  /// std::runtime_error if there is no such output, it is no array, or somebody reads from it.
  virtual bool setOutputBuffer(std::size_t outputIndex, void* memory, std::uint64_t sizeInBytes);
  /// A new, unconnected procedure with the same parameters; null where that is not supported.
  [[nodiscard]] virtual std::unique_ptr<DataProcedure> clone() const { return nullptr; }
  void updateOutputDimensionsFromProcessedInput() override;
  /// Clears the map and returns 0; the position is fixed.
  virtual std::int32_t getParameters(std::string_view name,
                                     std::map<std::string, std::string>& parameters) const;
  /// Reserved; the position is fixed.
  virtual std::int32_t reserved10() { return 0; }
  /// False: a key that this procedure does not know.
  virtual bool setParameter(std::string_view key, std::uint64_t value);
  /// Reserved; the positions are fixed.
  virtual std::int32_t reserved12() { return 0; }
  virtual std::int32_t reserved13() { return 0; }
  virtual std::int32_t reserved14() { return 0; }

  [[nodiscard]] DataManager* getContext() const noexcept { return context_; }
  [[nodiscard]] std::size_t getNumberOfInputs() const noexcept { return inputs_.size(); }
  [[nodiscard]] std::size_t getNumberOfOutputs() const noexcept { return outputs_.size(); }
  [[nodiscard]] bool hasInputProvider(std::size_t slot) const noexcept {
    return slot < inputs_.size() && inputs_[slot] != nullptr;
  }
  [[nodiscard]] bool hasOutputProvider(std::size_t index) const noexcept {
    return isValidOutputProviderIndex(index) && outputs_[index] != nullptr;
  }
  [[nodiscard]] bool isValidOutputProviderIndex(std::size_t index) const noexcept {
    return index < outputs_.size();
  }
  /// True if a reader outside this procedure is connected to one of its outputs.
  [[nodiscard]] bool hasReferencedOutput() const noexcept;
  /// Borrowed. std::invalid_argument "!hasInputProvider @ N" if the slot is empty.
  [[nodiscard]] Provider* getInputProvider(std::size_t slot) const;
  /// Borrowed. std::invalid_argument "!hasOutputProvider @ N" if there is none.
  [[nodiscard]] Provider* getOutputProvider(std::size_t index) const;
  /// Takes ownership and becomes the provider's producer. Exception for a bad or taken index.
  void setOutputProvider(std::size_t index, std::unique_ptr<Provider> provider);

  /// A duplicate with the same connections and empty outputs of the same shape; null where clone()
  /// gives null. std::runtime_error "Copying arbitrary providers is not supported!".
  [[nodiscard]] std::unique_ptr<DataProcedure> copy() const;

 protected:
  /// The connected array of a slot, or null where the slot is empty or holds no array.
  [[nodiscard]] DataProvider* inputData(std::size_t slot) const noexcept;
  [[nodiscard]] DataProvider* outputData(std::size_t index) const noexcept;
  /// The array that process needs; std::runtime_error ": No input provider!" without it.
  [[nodiscard]] DataProvider& requireInput(std::size_t slot) const;
  /// The array that process makes; std::runtime_error ": No output provider!" without it.
  [[nodiscard]] DataProvider& requireOutput(std::int32_t index) const;
  /// Installs an empty array of that shape as an output; the index must be free.
  void makeOutput(std::size_t index, const DataDimension& dimension);
  /// Sets an output's shape; Exception with `refused` if somebody reads or writes it.
  static void setOutputDimension(DataProvider& output, const DataDimension& dimension,
                                 const char* refused = "setDataDimension() failed!");

  /// For composites, which show the providers of inner procedures as their own: the slot borrows
  /// what it is given, null included, and nothing is counted or freed. A composite clears its
  /// borrowed slots before it ends.
  void borrowInput(std::size_t slot, Provider* provider);
  void borrowOutput(std::size_t index, Provider* provider);

 private:
  /// Frees the outputs that this procedure made and leaves borrowed ones alone.
  struct OutputDeleter {
    bool owned;
    void operator()(Provider* provider) const noexcept {
      if (owned) delete provider;
    }
  };
  using OutputSlot = std::unique_ptr<Provider, OutputDeleter>;

  void adoptOutput(std::size_t index, std::unique_ptr<Provider> provider);

  DataManager* context_;
  // No procedure has more than fit without memory of their own.
  boost::container::small_vector<Provider*, 4> inputs_;
  boost::container::small_vector<OutputSlot, 2> outputs_;
};

}  // namespace Kelbor

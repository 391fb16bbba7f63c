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

/// The parameter by which a wrapper sets the number of values of an inner procedure.
inline constexpr std::string_view kTotalNumberUncompressedElements =
    "totalNumberUncompressedElements";

class DataProcedure;

/// Sees the runs of procedures on its thread, inner ones within outer ones. For tools that explain or
/// measure a chain.
class RunObserver {
 public:
  virtual void runBegins(const DataProcedure& procedure) = 0;
  /// Also after a run that failed or threw.
  virtual void runEnds(const DataProcedure& procedure) noexcept = 0;

 protected:
  ~RunObserver() = default;
};

/// Directs the runs of this thread to `observer`, which is borrowed, during its lifetime.
class ScopedRunObserver {
 public:
  explicit ScopedRunObserver(RunObserver* observer) noexcept;
  ~ScopedRunObserver();
  ScopedRunObserver(const ScopedRunObserver&) = delete;
  ScopedRunObserver& operator=(const ScopedRunObserver&) = delete;

 private:
  RunObserver* before_;
};

/// Runs process(), seen by the thread's observer if there is one.
bool runProcedure(DataProcedure& procedure, std::int32_t outputIndex);

/// A node of the graph that computes: its input slots borrow other nodes' providers, its output
/// slots own providers. Nothing runs by itself; reading an output runs its producer. Once built and
/// connected, a procedure may run any number of times: the state of a run is in its providers.
/// Composites and wrappers also keep some state for the run itself.
class DataProcedure {
 public:
  /// std::runtime_error "NULL Context!", std::invalid_argument for no inputs or no outputs.
  DataProcedure(DataManager* context, std::size_t numberOfSources, std::size_t numberOfProviders);
  DataProcedure(const DataProcedure&) = delete;
  DataProcedure& operator=(const DataProcedure&) = delete;

  // The order of the virtual functions is fixed, reserved ones included.

  /// Releases the inputs. Aborts the process if an output still has readers: a graph must be
  /// destroyed from its last procedure to its first.
  virtual ~DataProcedure();
  /// Borrows a provider for a slot and counts the reference. std::invalid_argument for a slot that
  /// does not exist or is taken. Overrides call this first and then derive their outputs.
  virtual void connectInput(std::size_t slot, Provider* provider);
  /// std::invalid_argument for a slot out of range or empty.
  virtual void disconnectInput(std::size_t slot);
  /// Returns false if an output was kept for a reader.
  virtual bool deleteUnreferencedOutputs();
  /// Reserved, does nothing.
  virtual void reset() {}
  /// Computes the content of one output; false if that failed.
  virtual bool process(std::int32_t outputIndex) = 0;
  /// Makes an output write to the caller's memory, which must outlive it. Exception or
  /// std::runtime_error if the output does not exist, is no array or has readers.
  virtual bool setOutputBuffer(std::size_t outputIndex, void* memory, std::uint64_t sizeInBytes);
  /// A new, unconnected procedure with the same parameters; null if not supported.
  [[nodiscard]] virtual std::unique_ptr<DataProcedure> clone() const { return nullptr; }
  /// Sets the outputs' dimensions once the inputs' content is known. Procedures that work in place
  /// must override it; this one raises Exception "::updateOutputDimensionsFromProcessedInput() not
  /// implemented but necessary!".
  virtual void updateOutputDimensionsFromProcessedInput();
  /// Clears the map and returns 0.
  virtual std::int32_t getParameters(std::string_view name,
                                     std::map<std::string, std::string>& parameters) const;
  /// Reserved.
  virtual std::int32_t reserved10() { return 0; }
  /// False if the procedure has no such parameter.
  virtual bool setParameter(std::string_view key, std::uint64_t value);
  /// Reserved.
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
  /// True if another procedure reads one of the outputs.
  [[nodiscard]] bool hasReferencedOutput() const noexcept;
  /// Borrowed. std::invalid_argument "!hasInputProvider @ N" if the slot is empty.
  [[nodiscard]] Provider* getInputProvider(std::size_t slot) const;
  /// Borrowed. std::invalid_argument "!hasOutputProvider @ N" if there is none.
  [[nodiscard]] Provider* getOutputProvider(std::size_t index) const;
  /// Takes ownership and becomes the provider's producer. Exception for an index that does not
  /// exist or is taken.
  void setOutputProvider(std::size_t index, std::unique_ptr<Provider> provider);

  /// A duplicate with the same connections and empty outputs of the same shape; null if clone()
  /// returns null. std::runtime_error "Copying arbitrary providers is not supported!".
  [[nodiscard]] std::unique_ptr<DataProcedure> copy() const;

 protected:
  /// The array connected to a slot; null if the slot is empty or holds something else.
  [[nodiscard]] DataProvider* inputData(std::size_t slot) const noexcept;
  [[nodiscard]] DataProvider* outputData(std::size_t index) const noexcept;
  /// The input array that process() needs; std::runtime_error ": No input provider!" without one.
  [[nodiscard]] DataProvider& requireInput(std::size_t slot) const;
  /// The output array that process() fills; std::runtime_error ": No output provider!" without one.
  [[nodiscard]] DataProvider& requireOutput(std::int32_t index) const;
  /// Installs an empty array of this dimension as an output; the index must be free.
  void makeOutput(std::size_t index, const DataDimension& dimension);
  /// Sets an output's shape; Exception with `refused` while it is read or written.
  static void setOutputDimension(DataProvider& output, const DataDimension& dimension,
                                 const char* refused = "setDataDimension() failed!");

  /// For composites, which expose providers of inner procedures as their own. The slot borrows the
  /// provider, which may be null, without counting or freeing it. A composite clears its borrowed
  /// slots before it is destroyed.
  void borrowInput(std::size_t slot, Provider* provider);
  void borrowOutput(std::size_t index, Provider* provider);

 private:
  /// Frees outputs that this procedure made, not borrowed ones.
  struct OutputDeleter {
    bool owned;
    void operator()(Provider* provider) const noexcept {
      if (owned) delete provider;
    }
  };
  using OutputSlot = std::unique_ptr<Provider, OutputDeleter>;

  void adoptOutput(std::size_t index, std::unique_ptr<Provider> provider);

  DataManager* context_;
  // Four slots inline: no procedure has more, so none allocates.
  boost::container::small_vector<Provider*, 4> inputs_;
  boost::container::small_vector<OutputSlot, 2> outputs_;
};

}  // namespace Kelbor

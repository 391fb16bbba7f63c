// Reads an array with an eye on each procedure of its chains.

#include <boost/core/demangle.hpp>
#include <chrono>
#include <typeinfo>

#include "commands/explain.hpp"
#include "core/procedure.hpp"
#include "core/provider.hpp"
#include "platform/thread_count.hpp"
#include "simulation/dataset_path.hpp"

namespace morvex::tools {
namespace {

using Clock = std::chrono::steady_clock;
using Kelbor::DataProvider;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The size of a result from its shape: its content may be gone. 0 for what is no array.
std::uint64_t bytesOf(const Kelbor::Provider* provider) {
  const auto* data = dynamic_cast<const DataProvider*>(provider);
  return data ? data->getDataDimension().getByteSize() : 0;
}

/// Collects runs. A run without an outer one begins another dataset.
class RunRecorder final : public Kelbor::RunObserver {
 public:
  /// The runs of each dataset, in the order in which the datasets were computed.
  [[nodiscard]] std::vector<std::vector<ProcedureRun>> take() { return std::move(datasets_); }

  /// A procedure starts, inside the one that waits for it.
  void runBegins(const Kelbor::DataProcedure& procedure) override {
    if (open_.empty()) datasets_.emplace_back();
    std::vector<ProcedureRun>& runs = datasets_.back();
    const Kelbor::DataProcedure* const self = &procedure;
    // The class without its namespaces, as recipes name it.
    const std::string name = boost::core::demangle(typeid(*self).name());
    open_.push_back({runs.size(), Clock::now(), 0.0});
    runs.push_back(
        {.name = name.substr(name.rfind(':') + 1), .depth = static_cast<int>(open_.size()) - 1});
  }

  /// Sizes are taken here, as outputs have no shape before the run.
  void runEnds(const Kelbor::DataProcedure& procedure) noexcept override {
    const Open ended = open_.back();
    open_.pop_back();
    const double seconds = secondsSince(ended.start);
    if (!open_.empty()) open_.back().inner += seconds;
    ProcedureRun& run = datasets_.back()[ended.place];
    // Procedures pull: the time of a run has those of all that it needed.
    run.seconds = seconds - ended.inner;
    for (std::size_t i = 0; i < procedure.getNumberOfInputs(); ++i) {
      if (procedure.hasInputProvider(i)) run.bytesIn += bytesOf(procedure.getInputProvider(i));
    }
    for (std::size_t i = 0; i < procedure.getNumberOfOutputs(); ++i) {
      if (procedure.hasOutputProvider(i)) run.bytesOut += bytesOf(procedure.getOutputProvider(i));
    }
  }

 private:
  struct Open {
    std::size_t place;
    Clock::time_point start;
    double inner;  ///< seconds of inner runs
  };
  std::vector<std::vector<ProcedureRun>> datasets_;
  std::vector<Open> open_;
};

template <class T>
/// A view of the bytes as values of type T, for the reader to fill.
BufferInfo<T, long long> bufferOf(std::vector<std::byte>& bytes) {
  return {reinterpret_cast<T*>(bytes.data()), static_cast<long long>(bytes.size() / sizeof(T))};
}

}  // namespace

Analysis analyse(EnsgSimulation& simulation, const ArrayId& array, ArraySize size,
                 const std::string& path, bool isBlock, bool isPerNode) {
  const morvex_request& asked = array.request;
  std::vector<std::byte> bytes(static_cast<std::size_t>(size.bytes()));
  const auto [group, name] = splitDatasetPath(path);
  // The calls are those that libmorvex makes for the same request. `keep` is false, as in its batches:
  // results that only this array needs don't fill the cache.
  const auto read = [&, &group = group, &name = name] {
    switch (asked.kind) {
      case MORVEX_COORDINATES:
      case MORVEX_PARTICLE_COORDINATES:
        return simulation.readCoordinates(asked.step, asked.part,
                                          asked.kind == MORVEX_COORDINATES ? 0 : 1, asked.component,
                                          bufferOf<float>(bytes), isBlock);
      case MORVEX_VARIABLE:
        if (isBlock) {
          return simulation.readBlockVariableComponent(asked.step, asked.variable, asked.part,
                                                       asked.component, asked.imaginary != 0,
                                                       bufferOf<float>(bytes), /*keep=*/false);
        }
        return simulation.readVariableComponent(
            asked.step, asked.variable, asked.part, isPerNode ? -1 : asked.element_type,
            asked.component, asked.imaginary != 0, bufferOf<float>(bytes), /*keep=*/false);
      case MORVEX_CONNECTIVITY:
      case MORVEX_BORDER_FACES:
        return simulation.readConnectivityInto(group, name, name + "_notreused",
                                               bufferOf<std::int32_t>(bytes), /*keep=*/false);
      case MORVEX_BORDER_PARENT_TYPES:
        return simulation.readInt16Into(group, name, bufferOf<std::int16_t>(bytes), false);
      default:
        return simulation.readInt32Into(group, name, bufferOf<std::int32_t>(bytes), false);
    }
  };
  // The runs of copies on other threads would not be seen.
  const int threads = Kelbor::Platform::threadCount();
  Kelbor::Platform::setThreadCount(1);
  Analysis analysis;
  // Twice: the second read shows what the cache saves.
  for (const bool isFirst : {true, false}) {
    RunRecorder recorder;
    const Kelbor::ScopedRunObserver observer(&recorder);
    const Clock::time_point start = Clock::now();
    read();
    (isFirst ? analysis.firstSeconds : analysis.secondSeconds) = secondsSince(start);
    if (isFirst) {
      analysis.datasets = recorder.take();
    } else {
      analysis.runAgain = recorder.take().size();
    }
  }
  Kelbor::Platform::setThreadCount(threads);
  return analysis;
}

}  // namespace morvex::tools

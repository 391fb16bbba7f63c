#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/procedure.hpp"

namespace Kelbor {

/// Owner of one graph: its sources, its procedures from the sources to the results, and the names
/// of its results. Ends by taking the graph down from its last procedure to its first.
class BranchedChain {
 public:
  BranchedChain() = default;
  BranchedChain(const BranchedChain&) = delete;
  BranchedChain& operator=(const BranchedChain&) = delete;
  /// A procedure whose output is still read from outside stays alive, and is not freed.
  ~BranchedChain();

  void addSource(std::unique_ptr<Provider> provider);
  DataProcedure& addProcedure(std::unique_ptr<DataProcedure> procedure);
  /// The same, and records the procedure as the result `key`. The first procedure of a key is
  /// replaced by a later one.
  DataProcedure& addProcedure(const std::string& key, std::unique_ptr<DataProcedure> procedure);
  /// Keeps a procedure that has no output: nothing leans on it, so it ends before all others.
  DataProcedure& addSink(std::unique_ptr<DataProcedure> procedure);
  /// Keeps a provider of another owner alive until the procedures that read it are gone.
  void keepAlive(std::shared_ptr<Provider> provider);

  /// KelborDataException "BranchedChain: no output procedure for key " + key.
  [[nodiscard]] DataProcedure& getOutputProcedure(std::string_view key) const;

 private:
  using NamedOutput = std::pair<std::string, DataProcedure*>;

  std::vector<std::unique_ptr<DataProcedure>> procedures_;
  std::vector<std::unique_ptr<Provider>> sources_;
  /// A chain has one or two results.
  std::vector<NamedOutput> namedOutputs_;
  std::vector<std::unique_ptr<DataProcedure>> sinks_;
  std::vector<std::shared_ptr<Provider>> keptAlive_;
};

}  // namespace Kelbor

#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/procedure.hpp"

namespace Kelbor {

/// Owns one graph: its sources, its procedures from sources to results, and the names of the
/// results. Destroys the graph from its last procedure to its first.
class BranchedChain {
 public:
  BranchedChain() = default;
  BranchedChain(const BranchedChain&) = delete;
  BranchedChain& operator=(const BranchedChain&) = delete;
  /// Leaks a procedure whose output is still read from outside, rather than free it under its
  /// reader.
  ~BranchedChain();

  void addSource(std::unique_ptr<Provider> provider);
  DataProcedure& addProcedure(std::unique_ptr<DataProcedure> procedure);
  /// The same, and names the procedure's output `key`. A later procedure replaces an earlier one of
  /// the same key.
  DataProcedure& addProcedure(const std::string& key, std::unique_ptr<DataProcedure> procedure);
  /// Keeps a procedure without outputs. Nothing depends on it, so it is destroyed first.
  DataProcedure& addSink(std::unique_ptr<DataProcedure> procedure);
  /// Shares ownership of a provider until the procedures that read it are gone.
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

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "commands/stored_file.hpp"
#include "common/array_list.hpp"
#include "simulation/simulation.hpp"

namespace morvex::tools {

/// One procedure of a chain.
struct ChainStep {
  std::string name;   ///< of its class, for example "Dequantization"
  std::string words;  ///< what it does, with its parameters
  /// Where its inputs are from: a step of the chain, stored bytes, or a result of another dataset.
  struct Input {
    int step = -1;     ///< of the same chain, else -1
    int dataset = -1;  ///< place in Explanation::datasets, else -1
    std::string words;
  };
  std::vector<Input> inputs;
};

/// How a dataset is rebuilt.
struct ExplainedDataset {
  std::string path;
  std::string recipe;  ///< number and label
  std::uint64_t stored = 0;
  std::vector<ChainStep> steps;
  std::vector<std::string> problems;  ///< what the file should have and doesn't
};

/// A dataset and all that it depends on, each once, in the order in which a read computes them: the
/// requested one is last.
struct Explanation {
  std::vector<ExplainedDataset> datasets;
};

/// Explains a dataset of `simulation`'s file. Both are borrowed.
[[nodiscard]] Explanation explain(StoredFile& stored, EnsgSimulation& simulation,
                                  const std::string& path);

/// A run of a procedure during a read.
struct ProcedureRun {
  std::string name;
  int depth = 0;       ///< 0 for the last procedure of a dataset's chain
  double seconds = 0;  ///< without the runs of the procedures that it waited for
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
};

/// What reading an array twice in a row took.
struct Analysis {
  /// Of the first read: the runs for each dataset, in the order of Explanation::datasets.
  std::vector<std::vector<ProcedureRun>> datasets;
  double firstSeconds = 0;
  double secondSeconds = 0;
  std::size_t runAgain = 0;  ///< datasets that the second read computed again
};

/// Reads an array twice on this thread alone. Throws what a failed read throws.
[[nodiscard]] Analysis analyse(EnsgSimulation& simulation, const ArrayId& array, ArraySize size,
                               const std::string& path, bool isBlock, bool isPerNode);

}  // namespace morvex::tools

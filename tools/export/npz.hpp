#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "export/job.hpp"
#include "export/npz_file.hpp"

namespace morvex::tools {

/// Exports to one archive for numpy. Keys are paths, which docs/export.md lists; arrays have the shapes
/// and values of the Python package's. What can't be read, and where there are no values, has no key.
class NpzExport {
 public:
  explicit NpzExport(Job& job) : job_(job), file_(job.folder, job.name + ".npz") {}
  void run();

 private:
  /// Adds the chosen steps and their times, under `steps/` and `times/`.
  void addSteps(const std::string& of, int timeset, const std::vector<int>& steps);
  void addModel();
  /// `hasState`: the step has cells of its own, not coordinates alone.
  void addPart(const std::string& label, int part, const morvex_part& info, int step,
               bool hasState);
  void addBorderFaces(const std::string& base, int part, const morvex_part& info, int step);
  void addVariable(int number);
  /// `info` is null for particles.
  void addValues(const std::string& key, int number, int step, int part, const morvex_part* info,
                 int geometryStep, bool isImaginary);

  /// Asks for an array of the geometry, with `columns` values for each of its rows; 0 for one axis.
  void addArray(const std::string& key, const char* type, const morvex_request& request,
                std::uint64_t columns = 0);
  /// Adds numbers that are known without reading an array, one-dimensional.
  template <class T>
  void addNumbers(const std::string& key, const char* type, std::vector<T> values);
  /// Writes numbers to the archive, in the turn of what asked for them.
  template <class T>
  void write(const std::string& key, const char* type, const std::vector<T>& values);

  /// Appends NaN to the array that is being written.
  void appendMissing(std::size_t count);

  Job& job_;
  NpzFile file_;
  std::set<std::pair<int, int>> damaged_;  ///< parts and states whose cells can't be read
  std::vector<std::string> labels_;        ///< of the variables
};

}  // namespace morvex::tools

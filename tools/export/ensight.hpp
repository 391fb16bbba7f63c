#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "export/ensight_case.hpp"
#include "export/job.hpp"

namespace morvex::tools {

/// Exports to EnSight Gold, C binary: a case file, a geometry file for each step of the model, and a
/// file for each variable and step. Numbers are little-endian, nodes keep their order: the stored
/// element types are those of EnSight.
///
/// What can't be read is left out, with the values that belong to it.
class EnSightExport {
 public:
  explicit EnSightExport(Job& job) : job_(job) {}
  void run();

 private:
  /// One file of a series, which is open from when the first of it is read until the last of it is
  /// written, so that few files are open at any time.
  using Out = std::shared_ptr<std::unique_ptr<FolderFile>>;
  /// Queues the opening of a file with lines of 80 bytes at its start; `close` queues its end.
  Out open(const std::string& name, std::vector<std::string> headerLines);
  void close(const Out& out);

  void exportModel();
  /// Asks for what the geometry file has of a part. A part without coordinates is dropped with its
  /// values.
  void addPart(const Out& out, int step, int part, const morvex_part& info);
  void addElements(const Out& out, int step, int part, const morvex_part& info, int type);
  void exportParticles();

  void exportConstant(int number, const std::string& name);
  void exportParticleVariable(int number);
  /// The parts on which the values are at one location: blocks have values per node even where the
  /// variable has values per element.
  void exportVariable(int number, morvex_location location, bool onBlocksAlone);
  void addValues(const Out& out, morvex_request request, const morvex_part& info, int geometryStep,
                 morvex_location location);
  /// Whether any chosen part has values at one location, at any chosen step.
  [[nodiscard]] bool hasValues(int number, morvex_location location, bool onBlocksAlone);

  /// A part, or with a type its elements, that the geometry of a step does not have.
  using Dropped = std::array<int, 3>;
  [[nodiscard]] bool isDropped(int step, int part, int type) const;

  /// Names of files of a series: base + "." + number, or the base alone for one that never changes.
  [[nodiscard]] std::string fileName(const std::string& base, int timeSet, std::size_t step) const;
  /// The same with stars for the number, as the case file names a series of `steps` files.
  [[nodiscard]] std::string pattern(const std::string& base, int timeSet, std::size_t steps) const;

  Job& job_;
  EnSightCase case_;
  /// Filled in while arrays are received: values come after their geometry.
  std::set<Dropped> dropped_;
};

}  // namespace morvex::tools

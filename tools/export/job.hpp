#pragma once

#include <morvex/morvex.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/element_kinds.hpp"
#include "common/new_folder.hpp"
#include "common/selection.hpp"
#include "export/feed.hpp"

namespace morvex::tools {

/// What is exported, and where to.
class Job {
 public:
  /// All are borrowed. `name` begins the names of all files.
  Job(const File& openFile, const Contents& fileContents, const Choice& userChoice,
      NewFolder& newFolder, Feed& arrayFeed, std::string fileName);

  /// Public: an export is a function of all of these.
  const File& file;
  const Contents& contents;
  const Choice& choice;
  NewFolder& folder;
  Feed& feed;
  std::string name;

  /// The chosen steps of the model; where its connectivity changes also those on which chosen steps of
  /// variables have their values.
  [[nodiscard]] std::vector<int> modelSteps() const;
  /// Empty if there are no particles, or only parts of the model are chosen.
  [[nodiscard]] const std::vector<int>& particleSteps() const noexcept { return particleSteps_; }
  [[nodiscard]] std::vector<int> stepsOf(const morvex_variable& variable) const;
  /// Numbers of the chosen variables.
  [[nodiscard]] const std::vector<int>& variables() const noexcept { return variables_; }
  [[nodiscard]] const morvex_variable& variable(int number) const {
    return contents.variables.at(static_cast<std::size_t>(number));
  }
  /// Times of steps of a time set; zeros without one.
  [[nodiscard]] std::vector<float> timesOf(int timeset, const std::vector<int>& steps) const;

  /// All parts of the model at a step, valid until the next call; none after a failure, which is
  /// listed.
  const std::vector<morvex_part>& partsOrNone(int modelStep);
  [[nodiscard]] bool isChosen(int part, const morvex_part& info) const {
    return choice.hasPart(part, info.name);
  }
  /// The step of the geometry on which a variable has its values; nothing after a failure, which is
  /// listed.
  [[nodiscard]] std::optional<int> geometryStep(int variable, int step);

  /// Whether a variable may have values on a part: only its absence is certain.
  [[nodiscard]] bool isDefined(int variable, int step, int part) const;
  /// Number of a constant at a step; not a number after a failure, which is listed.
  [[nodiscard]] float constant(int variable, int step);

 private:
  // Asked for at each part and step, and not cheap to find.
  std::vector<int> particleSteps_;
  std::vector<int> variables_;
  PartList parts_;
  const std::vector<morvex_part> none_;
};

/// Element types of a part whose nodes the file has, in rising order.
[[nodiscard]] std::vector<int> cellTypes(const morvex_part& part);

/// Where the values of a variable are on a part: per node or per element; nothing if unknown. Blocks
/// have values per node, whatever the location.
[[nodiscard]] std::optional<morvex_location> locationOn(const morvex_variable& variable,
                                                        const morvex_part& part);

/// Components of a variable; of an unknown type the first can be read.
[[nodiscard]] std::size_t componentsOf(const morvex_variable& variable);

/// Why the extents of a block don't fit its number of nodes; empty if they do.
[[nodiscard]] std::string faultOfBlock(const morvex_part& part);

}  // namespace morvex::tools

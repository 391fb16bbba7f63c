#pragma once

#include <set>
#include <string>
#include <vector>

namespace morvex::tools {

/// The text of an EnSight case file, collected while its data files are written.
class EnSightCase {
 public:
  /// Adds a time set with such times, or finds it; returns its number. With a negative number of the
  /// file's own time set nothing changes: 0.
  int timeSet(int timeset, const std::vector<float>& times);

  /// `pattern` has stars for the number of the step where the time set is not 0.
  void model(int timeSet, const std::string& pattern);
  void measured(int timeSet, const std::string& pattern);
  /// `kind` is for example "scalar per node"; `patterns` has two names for a complex variable, which
  /// its frequency follows.
  void variable(const std::string& kind, int timeSet, const std::string& name,
                const std::vector<std::string>& patterns, const std::string& frequency = {});
  /// One value for each step of the time set, in `file` if they are too many for a line: its text is
  /// returned, else an empty one.
  [[nodiscard]] std::string constant(int timeSet, const std::string& name,
                                     const std::vector<float>& values, const std::string& file);

  /// A name for a variable that is like `wanted`, keeps to EnSight's letters and was not given yet.
  [[nodiscard]] std::string nameLike(const std::string& wanted);

  /// The whole case file.
  [[nodiscard]] std::string text() const;

 private:
  struct TimeSet {
    /// Of the result file, from 0; negative ones have no entry.
    int timeset;
    std::vector<float> times;
  };

  std::vector<TimeSet> timeSets_;
  std::string geometry_;
  std::string variables_;
  std::set<std::string> names_;
};

}  // namespace morvex::tools

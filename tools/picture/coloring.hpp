#pragma once

#include <optional>
#include <string>
#include <vector>

#include "picture/scene.hpp"

namespace morvex::picture {

/// The step that a picture shows. Model and particles have theirs where it follows from a variable.
struct StepChoice {
  int step = 0;
  float time = 0;
  bool isTimed = false;
  std::optional<int> geometryStep;
  std::optional<int> particleStep;
};

/// The step of a geometry that is nearest to a time.
[[nodiscard]] int nearestStep(const tools::Contents& contents, const morvex_geometry& geometry,
                              float time);

/// Values of a component, or one number made of all: the length of vectors, the equivalent value of
/// symmetric tensors by von Mises, the square root of the sum of squares of tensors. `values` are
/// interleaved.
[[nodiscard]] std::vector<float> reducedValues(const std::vector<float>& values, int components);

/// Chooses a variable and gives a scene its values.
class Coloring {
 public:
  /// All are borrowed. Failure kUsageError for components that are not there.
  Coloring(const File& file, const tools::Contents& contents, const tools::Choice& choice,
           const Wish& wish);

  /// The step of the selection, the last one without any. Failure kUsageError.
  [[nodiscard]] StepChoice chooseStep() const;

  /// Reads values for the parts and particles that are there. Error; Failure kUsageError if the
  /// variable that the user names has none.
  void apply(Scene& scene, int geometryStep) const;

 private:
  [[nodiscard]] int stepOf(int timeset, std::uint64_t count) const;
  /// The step of a geometry whose connectivity changes that has a variable's values.
  [[nodiscard]] int stateOf(int variable, int step) const;
  [[nodiscard]] int variableStep(int variable, const Scene& scene) const;
  [[nodiscard]] int componentOf(const morvex_variable& variable) const;
  void readValues(int variable, Scene& scene, int geometryStep) const;
  [[nodiscard]] std::string nameOf(const morvex_variable& variable) const;

  const File& file_;
  const tools::Contents& contents_;
  const tools::Choice& choice_;
  const Wish& wish_;
  bool isChosen_ = false;        ///< the user names the variable
  std::vector<int> candidates_;  ///< variables, best first
};

}  // namespace morvex::picture

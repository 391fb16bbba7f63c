#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "writer/result_file.hpp"

namespace morvex::Writer {

/// How far a value that is read may be from the true one: `absolute` plus `relative` times the
/// magnitude of the true value.
struct Tolerance {
  double absolute = 0.0;
  double relative = 0.0;
};

/// A falling block of solids crushes a square tube of shells on a plate, and a few fragments fly
/// off: a model whose every number is known, stored in every form that the format has. Lengths are
/// in mm, times in ms. The same options give the same numbers.
///
/// | variable | location | stored |
/// |---|---|---|
/// | displacement | nodes, vector | steps of 0.01, time differences |
/// | plastic_strain | elements | steps of 0.0001, differences along a forest |
/// | stress | elements | error of 0.1 % of each value |
/// | temperature | nodes | 0.01 % of the largest value, integers apart |
/// | contact_state | nodes of the tube | exact, time differences |
/// | thickness | shells | exact |
/// | sound_pressure | nodes of the block, complex | exact, no steps |
/// | crush_force | constant | one number for each step |
/// | fragment_speed | particles | steps of 0.1 |
class CrashBox {
 public:
  struct Options {
    std::uint32_t nodes = 10'000;  ///< Approximate number.
    int steps = 20;
    std::uint64_t tableChunks = 4;
  };
  enum Part { kTube, kBlock, kPlate, kPartCount };
  enum Variable {
    kDisplacement,
    kPlasticStrain,
    kStress,
    kTemperature,
    kContactState,
    kThickness,
    kSoundPressure,
    kCrushForce,
    kFragmentSpeed,
    kVariableCount
  };
  using Axes = std::array<std::vector<float>, 3>;

  explicit CrashBox(const Options& options);

  /// The file's content, made of the results of the functions below.
  [[nodiscard]] ResultFileBuilder file() const;

  [[nodiscard]] int steps() const noexcept { return steps_; }
  [[nodiscard]] float timeOf(int step) const;
  [[nodiscard]] std::size_t nodeCount(int part) const;
  /// Node numbers of a part's elements by type, from 1.
  [[nodiscard]] const std::map<int, std::vector<std::int32_t>>& elements(int part) const;
  [[nodiscard]] std::size_t elementCount(int part, int type) const;

  /// x, y and z of all nodes of a part.
  [[nodiscard]] Axes coordinates(int step, int part) const;
  [[nodiscard]] Axes particles(int step) const;
  /// The quads of the block's surface.
  [[nodiscard]] const BorderFaces& borderFaces() const noexcept { return borderFaces_; }

  /// The keys under which a variable has values; none for a constant.
  [[nodiscard]] std::vector<ValueKey> keys(Variable variable) const;
  [[nodiscard]] std::vector<float> values(Variable variable, const ValueKey& key) const;
  [[nodiscard]] float crushForce(int step) const;

  [[nodiscard]] static const char* nameOf(Variable variable);
  [[nodiscard]] static Tolerance coordinateTolerance();
  [[nodiscard]] Tolerance toleranceOf(Variable variable) const;

 private:
  /// A node at rest, with its two coordinates on the part's surface, each from 0 to 1.
  struct Node {
    std::array<double, 3> position;
    double around = 0.0;
    double along = 0.0;
  };

  void makeTube(double nodes);
  void makeBlock(double nodes);
  void makePlate(double nodes);
  [[nodiscard]] double progress(int step) const;
  [[nodiscard]] std::array<double, 3> positionOf(int part, const Node& node, int step) const;
  [[nodiscard]] double nodeValue(Variable variable, const ValueKey& key, std::size_t node) const;
  [[nodiscard]] double elementValue(Variable variable, const ValueKey& key, double place) const;

  int steps_;
  std::uint64_t tableChunks_;
  std::array<std::vector<Node>, kPartCount> nodes_;
  std::array<std::map<int, std::vector<std::int32_t>>, kPartCount> elements_;
  BorderFaces borderFaces_;
  double largestTemperature_ = 0.0;
};

}  // namespace morvex::Writer

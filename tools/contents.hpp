#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "element_kinds.hpp"

namespace morvex::tools {

/// The session of the library, of which a process has one. Ends it on destruction.
class OpenFile {
 public:
  /// AskFailure if the library refuses the file; it has told why in its log.
  explicit OpenFile(const std::string& path);
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
};

/// What changes over the steps of a geometry.
enum class Adaptivity { absent = -1, fixed = 0, coordinates = 1, connectivity = 2 };

struct Geometry {
  Adaptivity adaptivity = Adaptivity::absent;
  int timeSet = 0;
  int steps = 0;  ///< steps that have coordinates of their own; 1 for a fixed geometry

  [[nodiscard]] bool isPresent() const noexcept { return adaptivity != Adaptivity::absent; }
  /// The state that holds the sizes at a step.
  [[nodiscard]] int stateAt(int step) const noexcept {
    return adaptivity == Adaptivity::connectivity ? step : 0;
  }
};

struct Part {
  int id = 0;
  int type = 0;  ///< 0 unstructured, else a structured block
  std::string name;
  std::uint64_t nodes = 0;
  ElementCounts elements{};
  std::array<std::int32_t, 4> extents{};  ///< of a block
  ElementCounts borderFaces{};

  [[nodiscard]] bool isBlock() const noexcept { return type != 0; }
};

struct Box {
  std::array<float, 3> low{};
  std::array<float, 3> high{};
  /// False for the box of a step that the file has none for.
  [[nodiscard]] bool isFilled() const noexcept {
    return low[0] <= high[0] && low[1] <= high[1] && low[2] <= high[2];
  }
};

struct Variable {
  static constexpr int kPerElement = 1;
  static constexpr int kPerNode = 4;

  std::string name;
  std::string description;
  int type = 0;      ///< 1 scalar, 2 vector, 3 symmetric tensor, 4 tensor
  int location = 0;  ///< kPerElement or kPerNode
  bool isComplex = false;
  std::string imaginaryDescription;
  float frequency = 0.0F;
  bool isConstant = false;  ///< one value for each step, no arrays
  bool isTransient = true;  ///< told for constants alone
  int timeSet = 0;
  int steps = 0;
  bool isMeasured = false;  ///< of the particles, not of the model

  /// Components of a value; 0 for a type that no array is delivered for.
  [[nodiscard]] int components() const noexcept;
};

/// All that the library tells without decoding an array.
struct Contents {
  std::vector<std::vector<float>> timeSets;  ///< the times of each set
  Geometry model;
  Geometry measured;
  std::uint64_t partCount = 0;
  std::vector<Variable> variables;
  /// Questions that the library could not answer, with its reasons.
  std::vector<std::string> problems;
};

/// Asks the open session. What can't be answered is left empty and told in `problems`.
[[nodiscard]] Contents readContents();

/// The parts of the model at one of its steps, border faces included. AskFailure.
[[nodiscard]] std::vector<Part> readParts(const Contents& contents, int step);

/// The number of particles at one of their steps. AskFailure.
[[nodiscard]] std::uint64_t readParticleCount(int step);

/// The box of the model at one of its steps; nothing where the file has none.
[[nodiscard]] std::optional<Box> readBox(const Contents& contents, int step);

/// The value of a constant at a step. AskFailure.
[[nodiscard]] float readConstant(int variable, int step);

}  // namespace morvex::tools

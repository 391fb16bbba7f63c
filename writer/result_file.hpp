#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "metadata/case_records.hpp"
#include "metadata/geometry_records.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/octree_records.hpp"
#include "writer/quantise.hpp"
#include "writer/recipes.hpp"
#include "writer/records.hpp"
#include "writer/result_image.hpp"

namespace morvex::Writer {

/// Whether node numbers are stored as differences or as back references within windows.
enum class Ids { differences, windows };

struct Connectivity {
  std::vector<std::int32_t> nodes;
  Ids ids = Ids::differences;
};

struct BorderFaces {
  Connectivity connectivity;
  std::vector<std::int32_t> parentIds;
  std::vector<std::int16_t> parentTypes;
};

/// What a part is made of at one state. Element types are the host's numbers from 0 to 33.
struct PartState {
  std::array<std::vector<float>, 3> nodes;  ///< x, y, z
  std::map<int, Connectivity> elements;     ///< By type, 0 to 29.
  std::vector<std::int32_t> nsidedNodes;    ///< Nodes of each n-sided element.
  Connectivity nsided;
  std::vector<std::int32_t> nfacedFaces;      ///< Faces of each n-faced element.
  std::vector<std::int32_t> nfacedFaceNodes;  ///< Nodes of each of these faces.
  Connectivity nfaced;
  std::map<int, BorderFaces> borderFaces;  ///< By type.
};

/// A part of the model, or the particles. Where only coordinates change, states above 0 have nodes
/// alone.
class PartBuilder {
 public:
  PartBuilder(std::string partName, std::uint32_t partId) : name(std::move(partName)), id(partId) {}

  PartBuilder& nodes(std::vector<float> x, std::vector<float> y, std::vector<float> z,
                     int step = 0);
  PartBuilder& elements(int type, std::vector<std::int32_t> connectivity,
                        Ids ids = Ids::differences, int step = 0);
  PartBuilder& nsided(std::vector<std::int32_t> nodesPerElement,
                      std::vector<std::int32_t> connectivity, Ids ids = Ids::differences,
                      int step = 0);
  PartBuilder& nfaced(std::vector<std::int32_t> facesPerElement,
                      std::vector<std::int32_t> nodesPerFace,
                      std::vector<std::int32_t> connectivity, Ids ids = Ids::differences,
                      int step = 0);
  PartBuilder& borderFaces(int type, BorderFaces faces, int step = 0);
  /// A structured block, whose coordinates are stored exactly.
  PartBuilder& block(const std::array<std::uint32_t, 4>& info, std::uint32_t type = 1);
  /// Coordinates of this part are exact where those of the model have an adaptive precision.
  PartBuilder& notAdaptive();

  [[nodiscard]] PartState& state(int step);

  std::string name;
  std::uint32_t id;
  std::uint32_t type = 0;  ///< 0 unstructured, else a block.
  std::array<std::uint32_t, 4> blockInfo{};
  bool isAdaptive = true;
  std::vector<PartState> states{1};
};

/// Which values of a variable.
struct ValueKey {
  int step = 0;
  int part = 0;
  int elementType = -1;  ///< -1 for values per node.
  int component = 0;
  bool imaginary = false;

  auto operator<=>(const ValueKey&) const = default;
};

enum class Location : std::uint32_t { perElement = 1, perNode = 4 };

class VariableBuilder {
 public:
  VariableBuilder(std::string ofName, Location where, std::uint32_t ofType)
      : name(std::move(ofName)), location(where), type(ofType) {}

  VariableBuilder& set(const ValueKey& key, std::vector<float> values);
  VariableBuilder& describe(std::string text);
  VariableBuilder& complex(std::string imaginaryText, float ofFrequency);
  VariableBuilder& onTimeSet(std::uint32_t index);
  /// On the particles instead of the model.
  VariableBuilder& onParticles();
  /// One number for each step and no datasets.
  VariableBuilder& constant(std::vector<float> valuesOfSteps);
  /// Exact where this isn't called. With `ownSetting` the file has a setting for just this name.
  VariableBuilder& quantised(const Quantisation& how, bool ownSetting = true);
  /// Integers and dequantisation are two datasets that share a payload; for steps of one size.
  VariableBuilder& split();
  /// Stored as differences along the edges of a forest, not from value to value.
  VariableBuilder& alongForest();
  /// Stored as differences between the steps of its time set; quantised ones are then split.
  VariableBuilder& timeDifferences();

  std::string name;
  Location location;
  std::uint32_t type;  ///< 1 scalar, 2 vector, 3 and 4 tensors.
  std::string description;
  std::string imaginaryDescription;
  bool isComplex = false;
  float frequency = 0.0F;
  std::uint32_t timeset = kNoTimeset;
  std::uint32_t geometryIndex = 0;
  bool isConstant = false;
  std::vector<float> constants;
  Quantisation quantisation;
  bool hasOwnSetting = true;
  bool isSplit = false;
  bool isAlongForest = false;
  bool usesTimeDifferences = false;
  std::map<ValueKey, std::vector<float>> values;
};

/// Says what a result file holds and makes its bytes: records, recipes and encoded datasets.
///
///   ResultFileBuilder file;
///   file.part("door").nodes(x, y, z).elements(10, quads);
///   file.variable("stress", Location::perElement, 1).quantised(Quantisation::uniform(0.01))
///       .set({.elementType = 10}, stress);
///   file.write("door.sdf");
///
/// Sizes follow from the data. std::logic_error from image() and write() for what can't be stored,
/// such as time differences between steps of different sizes. References that part(), particles()
/// and variable() return hold as long as the builder.
class ResultFileBuilder {
 public:
  PartBuilder& part(std::string name);
  /// The second geometry: one part with nodes only.
  PartBuilder& particles();
  VariableBuilder& variable(std::string name, Location location, std::uint32_t type = 1);

  /// Adds a time set and returns its index.
  std::uint32_t timeSet(std::vector<float> times);
  /// A time set or file set with everything that its record can hold.
  ResultFileBuilder& timeSet(TimeSet set);
  ResultFileBuilder& fileSet(FileSet set);

  /// What changes over the steps of a time set; one of GeometryChange.
  ResultFileBuilder& modelChanges(std::uint8_t change, std::uint32_t timeset);
  ResultFileBuilder& particlesChange(std::uint8_t change, std::uint32_t timeset);
  ResultFileBuilder& coordinates(const Quantisation& how);
  ResultFileBuilder& particleCoordinates(const Quantisation& how);
  /// A setting besides those of the coordinates and the variables, for example of a pattern.
  ResultFileBuilder& precision(std::string key, PrecisionSetting setting);
  /// Blocks of variables in time differences; see timeReferences.
  ResultFileBuilder& timeBlocks(std::uint32_t blockSize, std::uint32_t maxDepth = 0);
  /// Chunks of the table of each compressed dataset.
  ResultFileBuilder& tableChunks(std::uint64_t count);

  /// Adds a recipe or a parameter block that datasets made by hand refer to; both return the
  /// number by which to do it.
  std::int32_t addRecipe(const RecipeBuilder& recipe);
  std::int32_t addParameters(const Bytes& block);

  [[nodiscard]] ResultImage image() const;
  void write(const std::string& path, bool deflateRecords = false) const;

  std::string title;
  MetadataVersion requiredVersion{7, 0, 1};
  MetadataVersion variableRecordVersion{0, 1, 0};
  std::uint64_t nameWidth = 80;
  /// Boxes of all steps are stored; by default where the model changes.
  bool hasBoxesPerStep = false;
  std::vector<std::vector<OctreeMetaData>> octrees;  ///< No record while empty.

 private:
  friend class DatasetEncoder;
  friend class RecordAssembler;

  struct Geometry {
    std::vector<std::unique_ptr<PartBuilder>> parts;
    std::uint8_t change = GeometryChange::kStatic;
    std::uint32_t timeset = kNoTimeset;
    Quantisation quantisation;
    bool exists = false;
  };

  [[nodiscard]] std::size_t stepsOf(std::uint32_t timeset) const;
  /// States that are stored of a geometry's parts.
  [[nodiscard]] std::size_t coordinateSteps(const Geometry& geometry) const;

  std::array<Geometry, 2> geometries_;  ///< Model, particles.
  std::vector<std::unique_ptr<VariableBuilder>> variables_;
  std::vector<TimeSet> timeSets_;
  std::vector<FileSet> fileSets_;
  std::vector<PrecisionEntry> precisions_;
  CompressTimeDiffsMetaData timeDifferences_;
  std::uint64_t tableChunks_ = 1;
  std::vector<RecipeBuilder> recipes_;
  std::vector<Bytes> parameters_;
};

}  // namespace morvex::Writer

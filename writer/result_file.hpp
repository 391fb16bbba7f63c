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
enum class Ids { kDifferences, kWindows };

struct Connectivity {
  std::vector<std::int32_t> nodes;
  Ids ids = Ids::kDifferences;
};

struct BorderFaces {
  Connectivity connectivity;
  std::vector<std::int32_t> parentIds;
  std::vector<std::int16_t> parentTypes;
};

/// A part at one state. Element types are the host's numbers from 0 to 33.
struct PartState {
  std::array<std::vector<float>, 3> nodes;  ///< x, y, z
  std::map<int, Connectivity> elements;     ///< By type, 0 to 29.
  std::vector<std::int32_t> nsidedNodes;    ///< Nodes of each n-sided element.
  Connectivity nsided;
  std::vector<std::int32_t> nfacedFaces;      ///< Faces of each n-faced element.
  std::vector<std::int32_t> nfacedFaceNodes;  ///< Nodes of each of these faces.
  Connectivity nfaced;
  std::array<std::uint32_t, 2> ghostsWithoutNodes{};  ///< N-sided and n-faced ones.
  std::map<int, BorderFaces> borderFaces;             ///< By type.
};

/// A part of the model, or the particles. If only coordinates change, states above 0 have nodes
/// alone.
class PartBuilder {
 public:
  PartBuilder(std::string partName, std::uint32_t partId) : name(std::move(partName)), id(partId) {}

  PartBuilder& nodes(std::vector<float> x, std::vector<float> y, std::vector<float> z,
                     int step = 0);
  PartBuilder& elements(int type, std::vector<std::int32_t> connectivity,
                        Ids ids = Ids::kDifferences, int step = 0);
  PartBuilder& nsided(std::vector<std::int32_t> nodesPerElement,
                      std::vector<std::int32_t> connectivity, Ids ids = Ids::kDifferences,
                      int step = 0);
  PartBuilder& nfaced(std::vector<std::int32_t> facesPerElement,
                      std::vector<std::int32_t> nodesPerFace,
                      std::vector<std::int32_t> connectivity, Ids ids = Ids::kDifferences,
                      int step = 0);
  /// Ghosts of n-sided and n-faced elements, of which files have the number and values alone.
  PartBuilder& ghostsWithoutNodes(std::uint32_t nsidedCount, std::uint32_t nfacedCount,
                                  int step = 0);
  PartBuilder& borderFaces(int type, BorderFaces faces, int step = 0);
  /// A structured block, whose coordinates are stored exactly.
  PartBuilder& block(const std::array<std::uint32_t, 4>& info, std::uint32_t type = 1);
  /// Stores this part's coordinates exactly although the model's precision is adaptive.
  PartBuilder& notAdaptive();

  [[nodiscard]] PartState& state(int step);

  std::string name;
  std::uint32_t id;
  std::uint32_t type = 0;  ///< 0 unstructured, else a block.
  std::array<std::uint32_t, 4> blockInfo{};
  bool isAdaptive = true;
  std::vector<PartState> states{1};
};

/// Identifies one array of a variable.
struct ValueKey {
  int step = 0;
  int part = 0;
  int elementType = -1;  ///< -1 for values per node.
  int component = 0;
  bool imaginary = false;

  auto operator<=>(const ValueKey&) const = default;
};

enum class Location : std::uint32_t { kPerElement = 1, kPerNode = 4 };

class VariableBuilder {
 public:
  VariableBuilder(std::string ofName, Location where, std::uint32_t ofType)
      : name(std::move(ofName)), location(where), type(ofType) {}

  VariableBuilder& set(const ValueKey& key, std::vector<float> values);
  VariableBuilder& describe(std::string text);
  VariableBuilder& complex(std::string imaginaryText, float ofFrequency);
  VariableBuilder& onTimeSet(std::uint32_t index);
  /// Defined on the particles instead of the model.
  VariableBuilder& onParticles();
  /// One number for each step and no datasets.
  VariableBuilder& constant(std::vector<float> valuesOfSteps);
  /// Exact unless this is called. With `ownSetting` the file has a setting for just this name.
  VariableBuilder& quantised(const Quantisation& how, bool ownSetting = true);
  /// Stores integers and dequantisation as two datasets that share a payload; all steps must have
  /// one size.
  VariableBuilder& split();
  /// Stores differences along the edges of a forest, not from value to value.
  VariableBuilder& alongForest();
  /// Stores differences between the steps of its time set; splits quantised values.
  VariableBuilder& timeDifferences();

  std::string name;
  Location location;
  std::uint32_t type;  ///< 1 scalar, 2 vector, 3 symmetric tensor, 4 tensor.
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

/// Describes a result file and makes its bytes: records, recipes and encoded datasets.
///
///   ResultFileBuilder file;
///   file.part("door").nodes(x, y, z).elements(10, quads);
///   file.variable("stress", Location::kPerElement, 1).quantised(Quantisation::uniform(0.01))
///       .set({.elementType = 10}, stress);
///   file.write("door.sdf");
///
/// Sizes follow from the data. std::logic_error from image() and write() for what can't be stored,
/// such as time differences between steps of different sizes. References that part(), particles()
/// and variable() return are valid as long as the builder.
class ResultFileBuilder {
 public:
  PartBuilder& part(std::string name);
  /// The second geometry: one part with nodes only.
  PartBuilder& particles();
  VariableBuilder& variable(std::string name, Location location, std::uint32_t type = 1);

  /// Adds a time set and returns its index.
  std::uint32_t timeSet(std::vector<float> times);
  /// Adds a time set or file set with all fields of its record.
  ResultFileBuilder& timeSet(TimeSet set);
  ResultFileBuilder& fileSet(FileSet set);

  /// States what changes over the steps of a time set; one of GeometryChange.
  ResultFileBuilder& modelChanges(std::uint8_t change, std::uint32_t timeset);
  ResultFileBuilder& particlesChange(std::uint8_t change, std::uint32_t timeset);
  ResultFileBuilder& coordinates(const Quantisation& how);
  ResultFileBuilder& particleCoordinates(const Quantisation& how);
  /// Adds a setting besides those of the coordinates and the variables, for example of a pattern.
  ResultFileBuilder& precision(std::string key, PrecisionSetting setting);
  /// Sets the blocks of variables in time differences; see timeReferences.
  ResultFileBuilder& timeBlocks(std::uint32_t blockSize, std::uint32_t maxDepth = 0);
  /// Sets the number of chunks in the table of each compressed dataset.
  ResultFileBuilder& tableChunks(std::uint64_t count);

  /// Adds a recipe or a parameter block for datasets made by hand; returns the number that their
  /// headers refer to it by.
  std::int32_t addRecipe(const RecipeBuilder& recipe);
  std::int32_t addParameters(const Bytes& block);

  [[nodiscard]] ResultImage image() const;
  void write(const std::string& path, bool deflateRecords = false) const;

  std::string title;
  MetadataVersion requiredVersion{7, 0, 1};
  MetadataVersion variableRecordVersion{0, 1, 0};
  std::uint64_t nameWidth = 80;
  /// Whether boxes of all steps are stored; set if the model changes.
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
  /// Number of states that are stored of a geometry's parts.
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

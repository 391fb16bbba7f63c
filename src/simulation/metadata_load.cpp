#include "simulation/metadata_load.hpp"

#include <algorithm>
#include <charconv>
#include <span>
#include <stdexcept>
#include <string_view>

#include "core/checked.hpp"
#include "core/error.hpp"
#include "metadata/con_params.hpp"
#include "metadata/record_access.hpp"
#include "metadata/record_cursor.hpp"

namespace morvex {
namespace {

using Kelbor::checkedAt;
using Kelbor::getLogger;
using Kelbor::raise;
using File = Kelbor::MathModule::HierarchicalFileInterface;

constexpr const char* kRecordGroup = "/kelbor";

/// The numbers n below `end` for which the group has a dataset prefix + n, ascending. Lists the
/// group rather than counting up to `end`, which may be a damaged count.
std::vector<std::uint32_t> numberedRecords(File& file, const std::string& group,
                                           std::string_view prefix, std::uint64_t end) {
  std::vector<std::string> names;
  file.listDatasets(group, names);
  std::vector<std::uint32_t> numbers;
  for (const std::string& name : names) {
    if (!name.starts_with(prefix)) continue;
    const std::string digits = name.substr(prefix.size());
    std::uint32_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (number < end && digits == std::to_string(number)) numbers.push_back(number);
  }
  std::ranges::sort(numbers);
  return numbers;
}

class Loader {
 public:
  explicit Loader(File& file) : file_(file) {}

  SimulationMetadata load() {
    getLogger().status() << "Reading Metadata...";
    if (!loadVersion()) return std::move(data_);
    loadCase();
    loadGeometries();
    loadOctrees();
    loadVariables();
    loadPrecisions();
    loadSets();
    loadRecipes();
    loadTimeDifferences();
    loadBoxesPerStep();
    const auto& [major, minor, patch] = data_.fileVersion;
    getLogger().debug() << "File Version is " << major << (minor < 10 ? ".0" : ".") << minor << "."
                        << patch;
    getLogger().status() << "Reading Metadata... done.\n";
    return std::move(data_);
  }

 private:
  /// Logs the task, with a full stop after some, and opens its record.
  RecordBytes open(const char* name, const char* lineEnd = "") {
    logTask(name, lineEnd);
    return {file_, kRecordGroup, name};
  }
  static void logTask(const char* name, const char* lineEnd = "") {
    getLogger().debug() << "Running Task: " << kRecordGroup << "/" << name << lineEnd;
  }

  bool loadVersion() {
    const RecordBytes record = open("version");
    if (!record) return false;
    RecordCursor cursor(record.bytes());
    cursor.take(sizeof(std::uint32_t));  // unused
    data_.fileVersion = readVersion(cursor);
    const std::string version = data_.fileVersion.toString();
    if (kReaderVersion < data_.fileVersion) {
      raise<UsageException>("File requires Morvex Version " + version + " - Current Version is " +
                            kReaderVersion.toString());
    }
    getLogger().status() << "File requires minimum Version " << version << "\n";
    return true;
  }

  void loadCase() {
    const RecordBytes record = open("casemetadata");
    if (!record) return;
    StoredBox box = kInvertedBox;
    data_.caseMetaData = readCaseMetaData(record.bytes(), box);
    data_.boundingBox = {box[0], box[3], box[1], box[4], box[2], box[5]};
  }

  void loadGeometries() {
    logTask("geometrymetadata");
    const auto stateCounts = geometryStateCounts(data_.caseMetaData);
    const RecordBytes record(file_, kRecordGroup, "geometrymetadata");
    if (!record) return;
    data_.geometryMetaData = readGeometryMetadata(record.bytes(), data_.caseMetaData, stateCounts);
  }

  void loadOctrees() {
    const RecordBytes record = open("octreemetadata");
    if (!record) return;
    data_.hasOctree = true;
    data_.octreeMetaData = readOctreeMetaData(record.bytes(), data_.caseMetaData,
                                              octreeStateCounts(data_.caseMetaData));
  }

  void loadVariables() {
    const RecordBytes record = open("variablemetadata", ".");
    if (!record) return;
    std::vector<std::uint64_t> partCounts;
    for (const auto& states : data_.geometryMetaData) {
      partCounts.push_back(checkedAt(states, 0).numParts);
    }
    data_.variableMetaData = readVariableMetaData(record.bytes(), data_.caseMetaData.numVariables,
                                                  data_.caseMetaData.nameWidth, partCounts);
    const VariableMetaData& variables = data_.variableMetaData;
    for (std::size_t v = 0; v < variables.names.size(); ++v) {
      data_.timesetOfVariable.emplace(variables.names[v],
                                      static_cast<std::int32_t>(variables.timesets[v]));
      data_.usesTimeDiffs.emplace(variables.names[v], variables.usesTimeDiffs[v]);
    }
  }

  void loadPrecisions() {
    if (const RecordBytes record = open("precisions")) {
      readPrecisions(record.bytes(), data_.precisions, data_.caseMetaData.numVariables,
                     data_.variableMetaData.names);
    }
  }

  void loadSets() {
    for (const std::uint32_t i :
         numberedRecords(file_, "/timesets", "ts_", data_.caseMetaData.numTimesets)) {
      const RecordBytes record(file_, "/timesets", "ts_" + std::to_string(i));
      data_.timeSets.push_back(readTimeSet(record.bytes(), i));
    }
    for (const std::uint32_t i :
         numberedRecords(file_, "/filesets", "fs_", data_.caseMetaData.numFilesets)) {
      const RecordBytes record(file_, "/filesets", "fs_" + std::to_string(i));
      data_.fileSets.push_back(readFileSet(record.bytes(), i));
    }
  }

  void loadRecipes() {
    if (const RecordBytes record = open("recipes", ".")) {
      data_.recipes = readRecipes(record.bytes());
    }
    if (const RecordBytes record = open("recipe_con_params", ".")) {
      data_.recipeConParams = readRecipeConParams(record.bytes());
    }
  }

  void loadTimeDifferences() {
    const RecordBytes record = open("timediffsmd", ".");
    if (!record) return;
    data_.timeDiffsMetaData = readCompressTimeDiffsMetaData(record.bytes());
    data_.timeDiffPatterns.resize(data_.timeSets.size());
    const VariableMetaData& variables = data_.variableMetaData;
    for (std::size_t v = 0; v < variables.names.size(); ++v) {
      const auto timeset = static_cast<std::int32_t>(variables.timesets[v]);
      if (!variables.usesTimeDiffs[v]) {
        getLogger().debug() << "No time differences were applied for "
                            << "var=" << variables.names[v] << ", timeset=" << timeset;
        continue;
      }
      const auto [blockSize, maxDepth] = data_.timeDiffsMetaData;
      if (blockSize < 2) {
        raise<std::logic_error>("usesTimeDiffs[v]=true but m_timeDiffsMetaData.blockSize < 2");
      }
      const CompressTimeDifferences differences(checkedAt(data_.timeSets, timeset)->numberOfSteps(),
                                                static_cast<std::int32_t>(blockSize),
                                                static_cast<std::int32_t>(maxDepth));
      TimePattern& pattern = checkedAt(data_.timeDiffPatterns, timeset);
      pattern = differences.pattern();
      getLogger().debug() << "Pattern for var=" << variables.names[v] << ", timeset=" << timeset
                          << ": " << [&] { return toString(pattern); };
    }
  }

  void loadBoxesPerStep() {
    const RecordBytes record = open("metadatapertimestep", ".");
    std::span<GeometryMetadata> states;  // empty in a case without geometries
    if (!data_.geometryMetaData.empty()) {
      states = data_.geometryMetaData[SimulationMetadata::perTimestepGeometry];
    }
    if (record) {
      readMetaPerTimeStep(record.bytes(), states);
    } else if (!states.empty()) {
      const InterleavedBox& box = data_.boundingBox;
      states[0].boundingBox = {box[0], box[2], box[4], box[1], box[3], box[5]};
    }
  }

  File& file_;
  SimulationMetadata data_;
};

}  // namespace

SimulationMetadata loadMetadata(File& file) {
  return Loader(file).load();
}

}  // namespace morvex

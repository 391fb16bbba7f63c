// The metadata records field by field, including those that no query uses.

#include <algorithm>
#include <span>

#include "commands/dump.hpp"
#include "commands/record_fields.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"
#include "metadata/case_records.hpp"
#include "metadata/con_params.hpp"
#include "metadata/geometry_records.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/precisions.hpp"
#include "metadata/record_access.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "metadata/variable_records.hpp"
#include "recipes/time_differences.hpp"

namespace morvex::tools {
namespace {

/// Where files have all records but those of time and file sets.
constexpr const char* kRecordGroup = "/kelbor";

/// Two digits for each byte, in stored order.
std::string hexText(std::span<const std::byte> bytes) {
  static constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const std::byte b : bytes) {
    text += kDigits[std::to_integer<unsigned>(b) >> 4U];
    text += kDigits[std::to_integer<unsigned>(b) & 15U];
  }
  return text;
}

/// `box` is a field of the same record.
std::string caseText(const CaseMetaData& data, const StoredBox& box, std::size_t limit) {
  Fields fields(limit);
  fields.list("boundingBox", box);
  fields.one("title", data.title);
  fields.one("numGeometries", data.numGeometries);
  fields.one("numTimesets", data.numTimesets);
  fields.one("numFilesets", data.numFilesets);
  fields.one("numVariables", data.numVariables);
  fields.one("nameWidth", data.nameWidth);
  fields.list("geometryKinds", data.geometryKinds);
  fields.list("geometryChangeTypes", data.geometryChangeTypes);
  fields.list("geometryTimesets", data.geometryTimesets);
  fields.list("timesetStepCounts", data.timesetStepCounts);
  fields.list("geometryExtra", data.geometryExtra);
  fields.list("caseValues", data.caseValues);
  fields.one("caseText", data.caseText);
  fields.list("geometryTexts", data.geometryTexts);
  return fields.lines();
}

/// Tables have an entry for each part. Fields that no query uses have neutral names.
std::string geometryText(const GeometryMetadata& data, std::size_t limit) {
  Fields fields(limit);
  fields.one("numParts", data.numParts);
  fields.list("partIds", data.partIds);
  fields.list("partValues", data.partValues);
  fields.list("partTypes", data.partTypes);
  fields.list("partNames", data.partNames);
  fields.list("numNodes", data.numNodes);
  fields.list("nfacedConnectivitySize", data.nfacedConnectivitySize);
  fields.list("nfacedNodesPerFaceSize", data.nfacedNodesPerFaceSize);
  fields.list("nsidedConnectivitySize", data.nsidedConnectivitySize);
  fields.list("elementCounts", data.elementCounts);
  fields.list("blockInfo", data.blockInfo);
  fields.list("partFlagsA", data.partFlagsA);
  fields.list("partValuesB", data.partValuesB);
  fields.list("stateValues", data.stateValues);
  fields.list("coordinatesAdaptive", data.coordinatesAdaptive);
  fields.list("partFlagsC", data.partFlagsC);
  fields.list("borderFaceCounts", data.borderFaceCounts);
  return fields.lines();
}

/// No query uses octrees: their fields are shown as stored, entry by entry.
std::string octreeText(const OctreeMetaData& data, std::size_t limit) {
  Fields fields(limit);
  fields.list("entryCounts", data.entryCounts);
  fields.list("partValues", data.partValues);
  for (std::size_t part = 0; part < data.entryCounts.size(); ++part) {
    const std::string of = "[" + std::to_string(part) + "]";
    // Only parts with a tree have entries.
    if (data.entryCounts[part] == 0) continue;
    fields.list("entryValuesA" + of, data.entryValuesA[part]);
    fields.list("entryPairs" + of, data.entryPairs[part]);
    fields.list("entryElementCounts" + of, data.entryElementCounts[part]);
    fields.list("entryValuesB" + of, data.entryValuesB[part]);
    fields.list("entryValuesC" + of, data.entryValuesC[part]);
    fields.list("entryValuesD" + of, data.entryValuesD[part]);
    fields.list("entryValuesE" + of, data.entryValuesE[part]);
  }
  fields.list("partFlags", data.partFlags);
  return fields.lines();
}

/// Tables have an entry for each variable, in the order of its number.
std::string variablesText(const VariableMetaData& data, std::size_t limit) {
  Fields fields(limit);
  fields.list("names", data.names);
  fields.list("types", data.types);
  fields.list("locations", data.locations);
  fields.list("complexFlags", data.complexFlags);
  fields.list("frequencies", data.frequencies);
  fields.list("timesets", data.timesets);
  fields.list("geometryIndices", data.geometryIndices);
  fields.list("descriptions", data.descriptions);
  fields.list("imaginaryDescriptions", data.imaginaryDescriptions);
  fields.list("constantFlags", data.constantFlags);
  for (std::size_t v = 0; v < data.names.size(); ++v) {
    const std::string of = "[" + std::to_string(v) + "]";
    if (!data.constantValues[v].empty()) fields.list("constantValues" + of, data.constantValues[v]);
    if (!data.imaginaryConstantValues[v].empty()) {
      fields.list("imaginaryConstantValues" + of, data.imaginaryConstantValues[v]);
    }
    if (!data.definedOnPart[v].empty()) fields.list("definedOnPart" + of, data.definedOnPart[v]);
  }
  fields.list("dataTypes", data.dataTypes);
  fields.list("usesTimeDiffs", data.usesTimeDiffs);
  fields.list("datasetNames", data.datasetNames);
  return fields.lines();
}

/// By variable or geometry. The names of the types are in the order of their stored numbers.
std::string precisionsText(const Precisions& data, std::size_t limit) {
  static constexpr std::array<const char*, 5> kTypes{
      "uniform", "relative", "adaptive shift", "adaptive exponent", "adaptive scaled exponent"};
  Fields fields(limit);
  for (const auto& [key, setting] : data.entries()) {
    const auto type = static_cast<std::size_t>(setting.type);
    std::string words = type < kTypes.size() ? kTypes[type] : "type " + std::to_string(type);
    for (const double parameter : setting.parameters) {
      words += " " + numberText(parameter);
    }
    fields.text(valueText(key), words);
  }
  for (const auto& [name, value] : data.maxValues()) {
    fields.text("largest " + valueText(name), numberText(value));
  }
  return fields.lines();
}

std::string timeSetText(const TimeSet& data, std::size_t limit) {
  Fields fields(limit);
  fields.one("id", data.id());
  fields.one("numberOfSteps", data.numberOfSteps());
  fields.one("filenameStart", data.filenameStart());
  fields.one("filenameIncrement", data.filenameIncrement());
  fields.list("filenameNumbers", data.filenameNumbers());
  fields.one("description", data.description());
  fields.list("timeValues", data.timeValues());
  return fields.lines();
}

std::string fileSetText(const FileSet& data, std::size_t limit) {
  Fields fields(limit);
  fields.one("id", data.id());
  fields.one("numberOfSteps", data.numberOfSteps());
  fields.one("fileIndex", data.fileIndex());
  return fields.lines();
}

/// Blocks of bytes that recipes refer to by number. Their fields depend on the procedure, so they
/// are shown as bytes.
std::string parametersText(const std::vector<std::vector<std::byte>>& blocks, std::size_t limit) {
  Fields fields(limit);
  std::size_t number = 0;
  for (const auto& block : blocks) {
    // Here `limit` is a number of blocks, and of words of 4 bytes in each.
    if (number++ == limit) {
      fields.text("...", std::to_string(blocks.size()) + " blocks");
      break;
    }
    const auto shown = std::span(block).first(std::min<std::size_t>(block.size(), 4 * limit));
    fields.text("block " + std::to_string(number), std::to_string(block.size()) +
                                                       " bytes: " + hexText(shown) +
                                                       (shown.size() < block.size() ? "..." : ""));
  }
  return fields.lines();
}

/// Number of the record "<prefix><number>", if it is one.
std::optional<std::uint32_t> recordNumber(const std::string& name, const std::string& prefix) {
  if (!name.starts_with(prefix)) return std::nullopt;
  const std::string digits = name.substr(prefix.size());
  // Nine digits always fit 32 bits.
  if (digits.empty() || digits.size() > 9 ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(std::stoul(digits));
}

}  // namespace

/// Passes each record to the function that describes it; absent records leave no line.
class RecordDump {
 public:
  RecordDump(Kelbor::MathModule::SdfFile& file, std::size_t limit) : file_(file), limit_(limit) {}

  std::string version() {
    const RecordBytes record(file_, kRecordGroup, "version");
    if (!record) return "    absent: all metadata is ignored\n";
    RecordCursor cursor(record.bytes());
    const auto first = cursor.read<std::uint32_t>();
    return "    version of the reader that is needed: " + readVersion(cursor).toString() +
           " (first word " + std::to_string(first) + ")\n";
  }
  /// The functions that follow have to be called in the order of Dump::records().
  std::string caseData() {
    return with("casemetadata", [&](auto bytes) {
      StoredBox box = kInvertedBox;
      case_ = readCaseMetaData(bytes, box);
      return caseText(case_, box, limit_);
    });
  }
  std::string geometries() {
    return with("geometrymetadata", [&](auto bytes) {
      const auto counts = geometryStateCounts(case_);
      // Each record is decoded with counts of those before it.
      geometries_ = readGeometryMetadata(bytes, case_, counts);
      return states(geometries_, geometryText);
    });
  }
  std::string octrees() {
    return with("octreemetadata", [&](auto bytes) {
      const auto counts = octreeStateCounts(case_);
      return states(readOctreeMetaData(bytes, case_, counts), octreeText);
    });
  }
  std::string variables() {
    return with("variablemetadata", [&](auto bytes) {
      std::vector<std::uint64_t> partCounts;
      for (const auto& states : geometries_) {
        partCounts.push_back(states.empty() ? 0 : states[0].numParts);
      }
      variables_ = readVariableMetaData(bytes, case_.numVariables, case_.nameWidth, partCounts);
      return variablesText(variables_, limit_);
    });
  }
  /// Needs the names of the variables, which were read before.
  std::string precisions() {
    return with("precisions", [&](auto bytes) {
      Precisions table("ensg");
      readPrecisions(bytes, table, case_.numVariables, variables_.names);
      return precisionsText(table, limit_);
    });
  }
  std::string conParams() {
    return with("recipe_con_params",
                [&](auto bytes) { return parametersText(readRecipeConParams(bytes), limit_); });
  }
  std::string timeDifferences() {
    return with("timediffsmd", [&](auto bytes) {
      const CompressTimeDiffsMetaData data = readCompressTimeDiffsMetaData(bytes);
      Fields fields(limit_);
      fields.one("blockSize", data.blockSize);
      fields.one("maxDepth", data.maxDepth);
      return fields.lines() + patterns(data);
    });
  }
  /// Boxes of the model, state by state: read into its geometry records, as the reader does.
  std::string boxes() {
    return with("metadatapertimestep", [&](auto bytes) {
      if (geometries_.empty()) return std::string("    no geometry takes them\n");
      readMetaPerTimeStep(bytes, geometries_[0]);
      Fields fields(limit_);
      std::size_t state = 0;
      for (const GeometryMetadata& geometry : geometries_[0]) {
        if (state == limit_) break;
        fields.list("state " + std::to_string(state++), geometry.boundingBox);
      }
      return fields.lines();
    });
  }
  std::string timeSet(const std::string& name, std::uint32_t number) {
    const RecordBytes record(file_, "/timesets", name);
    return record ? timeSetText(*readTimeSet(record.bytes(), number), limit_) : "";
  }
  std::string fileSet(const std::string& name, std::uint32_t number) {
    const RecordBytes record(file_, "/filesets", name);
    return record ? fileSetText(*readFileSet(record.bytes(), number), limit_) : "";
  }

 private:
  /// Describes a record by `read`; "absent" if the file has none. Throws what `read` throws.
  template <class Read>
  std::string with(const char* name, const Read& read) {
    const RecordBytes record(file_, kRecordGroup, name);
    return record ? read(record.bytes()) : "    absent\n";
  }

  /// Describes the first `limit_` states of each geometry.
  template <class State>
  std::string states(const std::vector<std::vector<State>>& all,
                     std::string (*words)(const State&, std::size_t)) const {
    std::string text;
    for (std::size_t g = 0; g < all.size(); ++g) {
      for (std::size_t s = 0; s < all[g].size(); ++s) {
        text += "   geometry " + std::to_string(g) + ", state " + std::to_string(s) + " of " +
                std::to_string(all[g].size()) + "\n";
        if (s == limit_) {
          text += "    ...\n";
          break;
        }
        text += words(all[g][s], limit_);
      }
    }
    return text;
  }

  /// On which steps each step of a variable in time differences depends.
  std::string patterns(const CompressTimeDiffsMetaData& data) const {
    Fields fields(limit_);
    for (std::size_t v = 0; v < variables_.names.size(); ++v) {
      if (!variables_.usesTimeDiffs[v]) continue;
      const std::size_t set = variables_.timesets[v];
      if (set >= case_.timesetStepCounts.size()) continue;
      const CompressTimeDifferences differences(
          static_cast<std::int32_t>(case_.timesetStepCounts[set]),
          static_cast<std::int32_t>(data.blockSize), static_cast<std::int32_t>(data.maxDepth));
      fields.text("pattern of " + valueText(variables_.names[v]),
                  toString(differences.pattern()).substr(0, 8 * limit_));
    }
    return fields.lines();
  }

  Kelbor::MathModule::SdfFile& file_;
  std::size_t limit_;
  // What later records need of earlier ones.
  CaseMetaData case_;
  std::vector<std::vector<GeometryMetadata>> geometries_;
  VariableMetaData variables_;
};

void Dump::records(std::size_t limit) {
  heading("Records");
  RecordDump dump(file_, limit);
  using Member = std::string (RecordDump::*)();
  // In the order in which they depend on each other. If a record fails, its members stay empty, and
  // the next ones describe what they can.
  const std::pair<const char*, Member> kRecords[] = {
      {"version", &RecordDump::version},
      {"casemetadata", &RecordDump::caseData},
      {"geometrymetadata", &RecordDump::geometries},
      {"octreemetadata", &RecordDump::octrees},
      {"variablemetadata", &RecordDump::variables},
      {"precisions", &RecordDump::precisions},
      {"recipe_con_params", &RecordDump::conParams},
      {"timediffsmd", &RecordDump::timeDifferences},
      {"metadatapertimestep", &RecordDump::boxes},
  };
  for (const auto& [name, member] : kRecords) {
    const std::string path = std::string(kRecordGroup) + "/" + name;
    line("  " + path);
    attempt(path, [&, read = member] { put((dump.*read)()); });
  }
  // Sets have a record each, with the number in its name.
  const auto numbered = [&](const std::string& group, const std::string& prefix, auto member) {
    std::vector<std::string> names;
    attempt(group, [&] { file_.listDatasets(group, names); });
    for (const std::string& name : names) {
      const auto number = recordNumber(name, prefix);
      if (!number) continue;
      line("  " + group + "/" + name);
      attempt(group + "/" + name, [&] { put((dump.*member)(name, *number)); });
    }
  };
  numbered("/timesets", "ts_", &RecordDump::timeSet);
  numbered("/filesets", "fs_", &RecordDump::fileSet);
}

}  // namespace morvex::tools

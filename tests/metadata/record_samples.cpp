#include "record_samples.hpp"

#include <array>

#include "metadata/con_params.hpp"
#include "metadata/geometry_records.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/precisions.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "metadata/variable_records.hpp"

namespace morvex {
namespace {

using Bytes = std::span<const std::byte>;

BytesBuilder geometryBytes() {
  BytesBuilder record(0, 0, 0);
  appendState(record, {"hull", "fin"});
  appendState(record, {"p"});
  appendState(record, {});
  return record;
}

BytesBuilder octreeBytes() {
  BytesBuilder record(0, 0, 0);
  record.u64({2}).u32({1, 0}).u32({7, 8});
  record.u64({100}).u32({1, 2}).rising(0, 34).u64({101}).u64({102}).u64({103}).u64({104});
  return record.u8({1, 0}).u64({0});
}

BytesBuilder precisionBytes() {
  BytesBuilder record(0, 0, 0);
  record.u64({2, 4}).fixedText("a*", 4).u32({1}).f64({2.0, 0.0, 0.0, 0.0});
  return record.fixedText("b", 4).u32({3}).f64({1.0, 2.0, 3.0, 4.0}).f64({50.0});
}

}  // namespace

BytesBuilder caseBytes() {
  BytesBuilder record(0, 0, 0);
  record.f32({-1, -2, -3, 1, 2, 3}).u64({5, 2, 2, 1, 3, 4});
  record.text("title").u8({0, 1}).u8({1, 3}).u32({kNoTimeset, 1}).u32({4, 2}).u32({11, 12});
  record.u32({21, 22, 23, 24, 25}).u32({2}).text("ct").u32({3, 2});
  return record.text(std::string_view("g\0x\0y", 5));
}

CaseMetaData sampleCase() {
  StoredBox box = kInvertedBox;
  return readCaseMetaData(caseBytes().bytes(), box);
}

void appendState(BytesBuilder& record, const std::vector<std::string>& names) {
  const auto n = static_cast<std::uint32_t>(names.size());
  record.u64({n}).rising(100, n).rising(200, n).rising(0, n);
  for (const std::string& name : names) record.fixedText(name, 4);
  for (std::uint64_t field = 1; field <= 4; ++field) {
    for (std::uint64_t i = 0; i < n; ++i) record.u64({1000 * field + i});
  }
  for (std::uint32_t i = 0; i < n; ++i) record.rising(5000 + 100 * i, 34);
  record.rising(6000, 4 * n);
  for (std::uint32_t i = 0; i < n; ++i) record.u8({i == 0});
  record.rising(300, n).u32({31, 32, 33});
  for (std::uint32_t i = 0; i < n; ++i) record.u8({static_cast<std::uint8_t>(2 * i)});
  for (std::uint32_t i = 0; i < n; ++i) record.u8({255});
  for (std::uint32_t i = 0; i < n; ++i) record.rising(7000 + 100 * i, 34);
}

BytesBuilder variableBytes(const MetadataVersion& version) {
  BytesBuilder record(version.major, version.minor, version.patch);
  record.text("temp").fixedText("c", 4).u32({5, 1}).u32({4, 1}).u32({0, 1}).f32({0.0F, 2.5F});
  record.u32({1, kNoTimeset}).u32({0, 1}).text("desc").fixedText("d", 4).fixedText("", 8);
  record.u32({0, 1}).u64({0}).u64({2}).f32({1.5F, 2.5F}).u64({0}).u64({1}).f32({3.5F});
  record.u8({0, 2}).u32({8, 9}).u8({1, 0});
  if (version.minor > 0) record.fixedText("ds0", 4).fixedText("ds1", 4);
  return record;
}

std::vector<RecordSample> allRecords() {
  const CaseMetaData context = sampleCase();
  const std::vector<std::uint32_t> states{1, 2};
  const std::vector<std::uint64_t> parts{2, 1};
  const auto readCase = [](Bytes bytes) {
    StoredBox box = kInvertedBox;
    static_cast<void>(readCaseMetaData(bytes, box));
  };
  const auto readGeometry = [=](Bytes bytes) {
    static_cast<void>(readGeometryMetadata(bytes, context, states));
  };
  const auto readOctree = [=](Bytes bytes) {
    CaseMetaData oneGeometry = context;
    oneGeometry.numGeometries = 1;
    static_cast<void>(readOctreeMetaData(bytes, oneGeometry, std::vector<std::uint32_t>{2}));
  };
  const auto readVariables = [=](Bytes bytes) {
    static_cast<void>(readVariableMetaData(bytes, 2, 4, parts));
  };
  const auto readTable = [](Bytes bytes) {
    Precisions precisions("ensg");
    readPrecisions(bytes, precisions, 1, std::vector<std::string>{"a1"});
  };
  const auto readTimes = [](Bytes bytes) { static_cast<void>(readTimeSet(bytes, 0)); };
  const auto readFiles = [](Bytes bytes) { static_cast<void>(readFileSet(bytes, 0)); };
  const auto readBoxes = [](Bytes bytes) {
    std::array<GeometryMetadata, 2> stored;
    readMetaPerTimeStep(bytes, stored);
  };
  const auto readDiffs = [](Bytes bytes) {
    static_cast<void>(readCompressTimeDiffsMetaData(bytes));
  };
  const auto readParams = [](Bytes bytes) { static_cast<void>(readRecipeConParams(bytes)); };

  BytesBuilder timeSet(0, 0, 0);
  timeSet.u32({9}).u64({2}).text("ts").i32({2}).f32({0.5F, 1.5F}).i32({-1}).u32({7, 8});
  BytesBuilder boxes(0, 0, 0);
  boxes.u64({2}).f32({1, 2, 3, 4, 5, 6}).f32({7, 8, 9, 10, 11, 12});
  BytesBuilder params(0, 0, 0);
  params.i32({2, 3}).text("abc").i32({12}).u32({0, 0, 0});

  const auto message = [](const char* what) {
    return std::string(what) + " meta data requires meta data version ";
  };
  return {
      {"case",
       message("CaseMetaData"),
       {0, 0, 0},
       caseBytes().bytes(),
       readCase,
       {{36, 8}, {44, 8}, {52, 8}, {76, 8}, {137, 4}, {143, 4}, {147, 4}}},
      {"geometry",
       message("Geometry"),
       {0, 0, 0},
       geometryBytes().bytes(),
       readGeometry,
       {{12, 8}}},
      {"octree",
       message("Octree"),
       {0, 0, 0},
       octreeBytes().bytes(),
       readOctree,
       {{12, 8}, {20, 4}, {24, 4}}},
      {"variables",
       message("Variable"),
       {0, 1, 0},
       variableBytes({0, 1, 0}).bytes(),
       readVariables,
       {{92, 8}, {100, 8}, {116, 8}, {124, 8}}},
      {"precisions",
       message("Precisions"),
       {0, 0, 0},
       precisionBytes().bytes(),
       readTable,
       {{12, 8}, {20, 8}}},
      {"time set", message("Time set"), {0, 0, 0}, timeSet.bytes(), readTimes, {{16, 8}, {26, 4}}},
      {"file set",
       message("FileSet"),
       {0, 0, 0},
       BytesBuilder(0, 0, 0).u32({1, 2, 3}).bytes(),
       readFiles,
       {}},
      {"boxes", message("MetaPerTimeStep"), {0, 0, 0}, boxes.bytes(), readBoxes, {{12, 8}}},
      {"time differences",
       message("CompressTimeDiffsMetaData"),
       {0, 0, 0},
       BytesBuilder(0, 0, 0).u32({4, 0}).bytes(),
       readDiffs,
       {}},
      {"parameters",
       message("RecipeCtor"),
       {0, 0, 0},
       params.bytes(),
       readParams,
       {{12, 4}, {16, 4}, {23, 4}}},
  };
}

}  // namespace morvex

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <limits>

#include "core/error.hpp"
#include "metadata/con_params.hpp"
#include "metadata/geometry_records.hpp"
#include "metadata/octree_records.hpp"
#include "metadata/precisions.hpp"
#include "metadata/step_records.hpp"
#include "metadata/time_records.hpp"
#include "metadata/variable_records.hpp"
#include "record_samples.hpp"
#include "support/message_of.hpp"
#include "writer/records.hpp"

namespace morvex {
namespace {

using Bytes = std::span<const std::byte>;
using Words = std::vector<std::uint32_t>;

/// One small intact record of a kind, and how it is read.
struct RecordSample {
  struct Count {
    std::size_t offset;
    std::size_t size;  ///< 4 or 8 bytes
  };

  std::string name;  ///< As the refusal of a newer version has it.
  Writer::ByteWriter bytes;
  std::vector<Count> counts;  ///< Where the record stores counts, lengths and widths.
  std::function<Writer::Bytes(Bytes)> readAndWriteBack;
  MetadataVersion highest = {0, 0, 0};
};

std::vector<RecordSample> allRecords() {
  const Writer::ByteWriter start({0, 0, 0});
  Writer::ByteWriter geometries = start;
  appendState(geometries, {"hull", "fin"});
  appendState(geometries, {"p"});
  appendState(geometries, {});
  Writer::ByteWriter precisions = start;
  precisions.u64({2, 4}).fixedText("a*", 4).u32({1}).f64({2.0, 0.0, 0.0, 0.0});
  precisions.text("bcde").u32({3}).f64({1.0, 2.0, 3.0, 4.0}).f64({50.0});
  Writer::ByteWriter timeSet = start;
  timeSet.u32({9}).u64({2}).text("ts").i32({2}).f32({0.5F, 1.5F}).i32({-1}).u32({7, 8});
  Writer::ByteWriter boxes = start;
  boxes.u64({2}).f32({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  Writer::ByteWriter parameters = start;
  parameters.i32({2, 3}).text("abc").i32({12}).u32({0, 0, 0});

  const auto readCase = [](Bytes bytes) {
    StoredBox box = kInvertedBox;
    const CaseMetaData record = readCaseMetaData(bytes, box);
    return Writer::caseBytes(record, box);
  };
  const auto readGeometries = [](Bytes bytes) {
    return Writer::geometryBytes(readGeometryMetadata(bytes, sampleCase(), Words{1, 2}), 4);
  };
  const auto readOctrees = [](Bytes bytes) {
    return Writer::octreeBytes(readOctreeMetaData(bytes, sampleCase(), Words{1, 1}));
  };
  const auto readVariables = [](Bytes bytes) {
    const std::vector<std::uint64_t> parts{2, 1};
    return Writer::variableBytes(readVariableMetaData(bytes, 2, 4, parts), 4);
  };
  const auto readTable = [](Bytes bytes) {
    Precisions table("ensg");
    readPrecisions(bytes, table, 1, std::vector<std::string>{"a1"});
    std::vector<Writer::PrecisionEntry> entries;
    for (const auto& [key, setting] : table.entries()) entries.push_back({key, setting});
    return Writer::precisionBytes(entries, {table.maxValues().at("a1")});
  };
  const auto readTimes = [](Bytes bytes) { return Writer::timeSetBytes(*readTimeSet(bytes, 0)); };
  const auto readFiles = [](Bytes bytes) { return Writer::fileSetBytes(*readFileSet(bytes, 0)); };
  const auto readBoxes = [](Bytes bytes) {
    std::array<GeometryMetadata, 2> states;
    readMetaPerTimeStep(bytes, states);
    return Writer::boxBytes(std::array{states[0].boundingBox, states[1].boundingBox});
  };
  const auto readDifferences = [](Bytes bytes) {
    return Writer::timeDifferenceBytes(readCompressTimeDiffsMetaData(bytes));
  };
  const auto readParameters = [](Bytes bytes) {
    return Writer::parameterListBytes(readRecipeConParams(bytes));
  };
  return {
      {"CaseMetaData",
       caseBytes(),
       {{36, 8}, {44, 8}, {52, 8}, {76, 8}, {137, 4}, {143, 4}, {147, 4}},
       readCase},
      {"Geometry", geometries, {{12, 8}}, readGeometries},
      {"Octree", octreeBytes().u64({0}), {{12, 8}, {20, 4}, {24, 4}}, readOctrees},
      {"Variable",
       variableBytes({0, 1, 0}),
       {{92, 8}, {100, 8}, {116, 8}, {124, 8}},
       readVariables,
       {0, 1, 0}},
      {"Precisions", precisions, {{12, 8}, {20, 8}}, readTable},
      {"Time set", timeSet, {{16, 8}, {26, 4}}, readTimes},
      {"FileSet", Writer::ByteWriter(start).u32({1, 2, 3}), {}, readFiles},
      {"MetaPerTimeStep", boxes, {{12, 8}}, readBoxes},
      {"CompressTimeDiffsMetaData", Writer::ByteWriter(start).u32({4, 0}), {}, readDifferences},
      {"RecipeCtor", parameters, {{12, 4}, {16, 4}, {23, 4}}, readParameters},
  };
}

TEST(AllRecords, ANewerOneIsRefusedWithTheVersionThatItDemands) {
  for (const RecordSample& sample : allRecords()) {
    const auto readWith = [&sample](const MetadataVersion& version) {
      std::vector<std::byte> bytes = sample.bytes.bytes();
      const std::uint32_t triple[3] = {version.major, version.minor, version.patch};
      std::memcpy(bytes.data(), triple, sizeof(triple));
      return sample.readAndWriteBack(bytes);
    };
    const auto& [major, minor, patch] = sample.highest;
    for (const MetadataVersion& version :
         {MetadataVersion{major, minor, patch + 1}, MetadataVersion{major, minor + 1, 0},
          MetadataVersion{1, 2, 3}, MetadataVersion{4294967295, 0, 0}}) {
      EXPECT_EQ(messageOf<UsageException>([&] { readWith(version); }),
                sample.name + " meta data requires meta data version " + version.toString());
    }
  }
  EXPECT_EQ((MetadataVersion{1, 20, 300}.toString()), "1.20.300");
}

TEST(AllRecords, AreWrittenBackAsTheyWere) {
  for (const RecordSample& sample : allRecords()) {
    EXPECT_EQ(sample.readAndWriteBack(sample.bytes.bytes()), sample.bytes.bytes()) << sample.name;
  }
}

TEST(AllRecords, EveryTruncationIsRefused) {
  for (const RecordSample& sample : allRecords()) {
    const Bytes whole = sample.bytes.bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
      const std::vector<std::byte> cut(whole.data(), whole.data() + length);
      EXPECT_THROW(sample.readAndWriteBack(cut), InternalError)
          << sample.name << ", length " << length;
    }
  }
}

/// Where a count reached an allocation, std::bad_alloc or std::length_error would come instead.
TEST(AllRecords, CountsBeyondTheRecordAreRefused) {
  for (const RecordSample& sample : allRecords()) {
    for (const RecordSample::Count& count : sample.counts) {
      for (const std::uint64_t huge :
           {std::uint64_t{0x7FFFFFFF}, std::uint64_t{0x2AAAAAAAAAAAAAAB},
            std::uint64_t{0x7FFFFFFFFFFFFFFF}, std::numeric_limits<std::uint64_t>::max() - 7}) {
        if (count.size == 4 && huge > 0x7FFFFFFF) continue;
        std::vector<std::byte> bytes = sample.bytes.bytes();
        std::memcpy(bytes.data() + count.offset, &huge, count.size);
        EXPECT_THROW(sample.readAndWriteBack(bytes), InternalError)
            << sample.name << ", count at " << count.offset << " = " << huge;
      }
    }
  }
}

}  // namespace
}  // namespace morvex

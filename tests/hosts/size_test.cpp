#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/data_manager.hpp"
#include "morvex/morvex_ensg.h"
#include "reader/element_types.hpp"
#include "sdf/sdf_file.hpp"
#include "sdf/sdf_format.hpp"
#include "support/curious_host.hpp"
#include "support/log_capture.hpp"
#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"
#include "writer/result_file.hpp"

namespace morvex {
namespace {

using namespace Kelbor::MathModule;

class SizeTest : public testing::Test {
 protected:
  Kelbor::LogCapture log_{Kelbor::LogLevel::kSilent};
  TemporaryPath path_{"size.sdf"};
};

constexpr std::uint64_t kFourGibibytes = std::uint64_t{1} << 32;

/// Moves a container's tables up by `distance` bytes and leaves a hole below them: what is added
/// next stands behind the hole.
void moveTables(const std::string& path, std::uint64_t distance) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  std::uint64_t tables = 0;
  file.seekg(kTableOffsetPosition);
  file.read(reinterpret_cast<char*>(&tables), sizeof tables);
  std::vector<char> region(std::filesystem::file_size(path) - tables);
  file.seekg(static_cast<std::streamoff>(tables));
  file.read(region.data(), static_cast<std::streamsize>(region.size()));
  tables += distance;
  file.seekp(static_cast<std::streamoff>(tables));
  file.write(region.data(), static_cast<std::streamsize>(region.size()));
  file.seekp(kTableOffsetPosition);
  file.write(reinterpret_cast<const char*>(&tables), sizeof tables);
}

TEST_F(SizeTest, FileWithDatasetsOnBothSidesOfFourGibibytesIsReadAsASmallOne) {
  Writer::ResultFileBuilder builder;
  describeSmallFile(builder);
  const Writer::ResultImage image = builder.image();
  image.write(path_.string());
  const Inquiry expected = askEverything(path_.string());
  ASSERT_TRUE(expected.opened);

  // Every other dataset first, then the hole, then the others.
  Writer::ResultImage below;
  Writer::ResultImage above;
  for (const auto& [name, content] : image.datasets()) {
    (below.datasets().size() > above.datasets().size() ? above : below)[name] = content;
  }
  below.write(path_.string());
  moveTables(path_.string(), kFourGibibytes + 12345);
  std::size_t counts[] = {0, 0};  // on either side
  {
    Kelbor::DataManager manager;
    SdfFile file(&manager, path_.string(), /*writable=*/true, "", /*compress=*/false);
    for (const auto* half : {&above, &below}) {
      for (const auto& [path, content] : half->datasets()) {
        const std::size_t slash = path.rfind('/');
        const std::string group = path.substr(0, slash);
        const std::string name = path.substr(slash + 1);
        if (half == &above) {
          Kelbor::DataProvider source(
              &manager,
              Kelbor::DataDimension(Kelbor::DataTypes::kUInt8, {std::uint64_t{content.size()}}));
          source.copyMemory(content.data(), content.size());
          ASSERT_EQ(file.writeDataset(group, name, source, nullptr), 0);
        }
        const auto fields = file.findDataset(group, name);
        ASSERT_TRUE(fields) << path;
        if (fields->field1 > kMaxInlineSize) ++counts[fields->field2 > kFourGibibytes ? 1 : 0];
      }
    }
  }
  EXPECT_GT(counts[0], 20U);
  EXPECT_GT(counts[1], 20U);
  EXPECT_EQ(askEverything(path_.string()).digest, expected.digest);
}

constexpr std::uint64_t kTooMany = std::uint64_t{1} << 31;

/// A file whose one part claims as many of everything as no host can count.
void writeHugeCounts(const std::string& path) {
  Writer::ResultFileBuilder file;
  file.part("p").nodes({0}, {0}, {0});
  file.particles().nodes({0}, {0}, {0});
  file.variable("nodes", Writer::Location::kPerNode).set({}, {1});
  file.variable("elements", Writer::Location::kPerElement).set({.elementType = 0}, {});
  Writer::ResultImage image = file.image();
  StoredBox box{};
  const CaseMetaData record = readCaseMetaData(image.at("/kelbor/casemetadata"), box);
  auto states = readGeometryMetadata(image.at("/kelbor/geometrymetadata"), record,
                                     geometryStateCounts(record));
  for (auto& geometry : states) geometry.at(0).numNodes.at(0) = kTooMany;
  GeometryMetadata& model = states.at(0).at(0);
  model.nsidedConnectivitySize.at(0) = kTooMany;
  model.nfacedConnectivitySize.at(0) = kTooMany;
  model.nfacedNodesPerFaceSize.at(0) = kTooMany;
  model.elementCounts.at(0).fill(static_cast<std::uint32_t>(kTooMany));
  model.borderFaceCounts.at(0).fill(static_cast<std::uint32_t>(kTooMany));
  image["/kelbor/geometrymetadata"] = Writer::geometryBytes(states, file.nameWidth);
  image.write(path);
}

TEST_F(SizeTest, CountsBeyondTheHostsNumbersAreRefusedAndNothingIsWritten) {
  writeHugeCounts(path_.string());
  ASSERT_EQ(MX_openFile(path_.string().c_str(), 0), 0);
  int number = 77;
  float value = 77;
  short word = 77;
  const auto refuses = [](auto&& question) { EXPECT_THROW(question(), std::length_error); };
  for (const auto read : {MX_getPartCoordinates, MX_getBlockStructuredCoordinates}) {
    refuses([&] { read(0, 0, &value, &value, &value); });
  }
  for (const auto read :
       {MX_getPartNodeIds, MX_getNSidedNumberOfNodesPerFace, MX_getNSidedConnectivity,
        MX_getNFacedNumberOfFacesPerElement, MX_getNFacedNodesPerFace, MX_getNFacedConnectivity}) {
    refuses([&] { read(0, 0, &number); });
  }
  for (const auto size : {MX_getDataSizeForNSidedConnectivity, MX_getDataSizeForNFacedNodesPerFace,
                          MX_getDataSizeForNFacedConnectivity}) {
    refuses([&] { size(0, 0); });
  }
  for (const int type : {0, kTriangle, kNSided, kNFaced}) {
    refuses([&] { MX_getPartElementIds(0, 0, type, &number); });
  }
  refuses([&] { MX_getElementConnectivity(0, 0, kTriangle, &number); });
  refuses([&] { MX_getBorderFacesConnByType(0, 0, kTriangle, &number, &number, &word); });
  refuses([&] { MX_getNumberOfMeasuredParticles(0); });
  refuses([&] { MX_getMeasuredParticleIds(0, &number); });
  refuses([&] { MX_getMeasuredParticleCoordinates(0, &value, &value, &value); });
  for (const int variable : {0, 1}) {
    refuses([&] { MX_getVariableByComponent(0, 0, variable, 0, 1, 0, 0, 0, &value); });
  }
  EXPECT_EQ(number, 77);
  EXPECT_EQ(value, 77.0F);
  EXPECT_EQ(word, 77);
  MX_exit();
}

TEST_F(SizeTest, ThousandsOfStepsAndDatasetsAreWalkedWithFlatMemory) {
  constexpr int kSteps = 3000;
  constexpr int kParts = 10;
  constexpr std::size_t kMostGrowth = 256 * 1024;
  const auto valueAt = [](int step, int part) {
    return static_cast<float>((step * 7 + part) % 4096) * 0.5F;
  };
  Writer::ResultFileBuilder builder;
  const std::uint32_t steps = builder.timeSet(std::vector<float>(kSteps));
  builder.timeBlocks(8, /*maxDepth=*/2);
  auto& variable = builder.variable("v", Writer::Location::kPerNode);
  variable.onTimeSet(steps).quantised(Writer::Quantisation::uniform(0.5)).timeDifferences();
  for (int part = 0; part < kParts; ++part) {
    builder.part("p").nodes({0}, {0}, {0});
    for (int step = 0; step < kSteps; ++step) {
      variable.set({.step = step, .part = part}, {valueAt(step, part)});
    }
  }
  const Writer::ResultImage image = builder.image();
  EXPECT_GE(image.datasets().size(), 30000U);
  image.write(path_.string());

  ASSERT_EQ(MX_openFile(path_.string().c_str(), 0), 0);
  EXPECT_EQ(MX_getNumberOfTimesteps(0), kSteps);
  const auto walk = [&](auto&& stepOf) {
    for (int i = 0; i < kSteps; ++i) {
      const int step = stepOf(i);
      float value = -1;
      ASSERT_EQ(MX_getVariableByComponent(step, 0, 0, step % kParts, 1, 0, 0, 0, &value), 0);
      ASSERT_EQ(value, valueAt(step, step % kParts)) << step;
    }
  };
  // The tables of the groups that were entered stay; content that was decoded must not.
  walk([](int i) { return i; });
  const std::size_t memory = ::mallinfo2().uordblks;
  std::mt19937 random(20240607);
  walk([&](int) { return static_cast<int>(random() % kSteps); });
  walk([](int i) { return i; });
  EXPECT_LE(::mallinfo2().uordblks, memory + kMostGrowth);
  MX_exit();
}

}  // namespace
}  // namespace morvex

// Metadata records: reads each dataset of a container in memory as the record of its name, then all
// of them as when a file is opened.

#include <array>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "container_image.hpp"
#include "contract.hpp"
#include "metadata/con_params.hpp"
#include "sdf/hierarchical_file.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/metadata_load.hpp"

namespace {

using namespace morvex;
using Bytes = std::span<const std::byte>;
using Kelbor::DataProvider;

/// The datasets of an image as a file.
class ImageFile final : public Kelbor::MathModule::HierarchicalFileInterface {
 public:
  ImageFile(Kelbor::DataManager& manager, const Writer::ResultImage& image)
      : HierarchicalFileInterface(&manager, "image", /*writable=*/false), image_(image) {}

  bool hasDataset(const std::string& group, const std::string& name) override {
    return image_.contains(group + '/' + name);
  }
  std::uint64_t getDatasetSize(const std::string& group, const std::string& name) override {
    return hasDataset(group, name) ? image_.at(group + '/' + name).size() : 0;
  }
  std::unique_ptr<DataProvider> getDataProvider(const std::string& group, const std::string& name,
                                                std::uint64_t /*count*/,
                                                std::uint64_t /*offset*/) override {
    if (!hasDataset(group, name)) return nullptr;
    const Writer::Bytes& content = image_.at(group + '/' + name);
    auto provider = std::make_unique<DataProvider>(
        getContext(),
        Kelbor::DataDimension(Kelbor::DataTypes::kUInt8, {std::uint64_t{content.size()}}));
    provider->copyMemory(content.data(), content.size());
    return provider;
  }
  int listDatasets(const std::string& group, std::vector<std::string>& names) override {
    const std::string prefix = group + '/';
    for (const auto& [path, content] : image_.datasets()) {
      if (path.starts_with(prefix)) names.push_back(path.substr(prefix.size()));
    }
    return 0;
  }
  int listGroups(const std::string&, std::vector<std::string>&) override { return 0; }
  int listEntries(const std::string&, std::vector<std::string>&,
                  std::vector<std::string>&) override {
    return 0;
  }
  int writeDataset(const std::string&, const std::string&, DataProvider&, std::uint64_t*) override {
    return -1;
  }
  int writeDatasets(const std::string&, const std::string&, std::span<DataProvider* const>,
                    std::uint64_t*) override {
    return -1;
  }
  int createGroup(const std::string&) override { return -1; }
  bool openHandle() override { return true; }
  bool closeHandle() override { return true; }

 private:
  const Writer::ResultImage& image_;
};

/// One geometry and variable of each kind, used if the file's own case can't be read.
CaseMetaData caseOf(const Writer::ResultImage& image) {
  CaseMetaData fallback;
  fallback.numGeometries = fallback.numTimesets = fallback.numVariables = 2;
  fallback.geometryChangeTypes = {GeometryChange::kConnectivity, GeometryChange::kStatic};
  fallback.geometryTimesets = {0, kNoTimeset};
  fallback.timesetStepCounts = {3, 2};
  fallback.nameWidth = 16;
  Fuzz::expectDefined([&] {
    StoredBox box = kInvertedBox;
    fallback = readCaseMetaData(image.at("/kelbor/casemetadata"), box);
  });
  return fallback;
}

/// Reads each record by itself, so that the failure of one doesn't hide another.
void readOneByOne(const Writer::ResultImage& image) {
  const CaseMetaData context = caseOf(image);
  const auto read = [&image](const char* path, auto&& reader) {
    if (image.contains(path)) Fuzz::expectDefined([&] { reader(Bytes(image.at(path))); });
  };
  read("/kelbor/geometrymetadata", [&](Bytes bytes) {
    (void)readGeometryMetadata(bytes, context, geometryStateCounts(context));
  });
  read("/kelbor/octreemetadata",
       [&](Bytes bytes) { (void)readOctreeMetaData(bytes, context, octreeStateCounts(context)); });
  read("/kelbor/variablemetadata", [&](Bytes bytes) {
    const std::vector<std::uint64_t> parts{3, 1};
    (void)readVariableMetaData(bytes, context.numVariables, context.nameWidth, parts);
  });
  read("/kelbor/precisions", [&](Bytes bytes) {
    Precisions precisions("ensg");
    const std::vector<std::string> names(std::min<std::uint64_t>(context.numVariables, 64), "v");
    readPrecisions(bytes, precisions, context.numVariables, names);
    for (const char* name : {"coordinates", "mcoordinates", "v", "aab", ""}) {
      Fuzz::expectDefined([&] { (void)precisions.getPrecision(name); });
    }
  });
  read("/kelbor/metadatapertimestep", [](Bytes bytes) {
    std::array<GeometryMetadata, 3> states;
    readMetaPerTimeStep(bytes, states);
  });
  read("/kelbor/timediffsmd", [](Bytes bytes) {
    const auto record = readCompressTimeDiffsMetaData(bytes);
    for (const std::int32_t steps : {0, 1, 2, 100}) {
      (void)CompressTimeDifferences(steps, static_cast<std::int32_t>(record.blockSize),
                                    static_cast<std::int32_t>(record.maxDepth))
          .pattern();
    }
  });
  read("/kelbor/recipe_con_params", [](Bytes bytes) { (void)readRecipeConParams(bytes); });
  read("/timesets/ts_0", [](Bytes bytes) { (void)readTimeSet(bytes, 0); });
  read("/filesets/fs_0", [](Bytes bytes) { (void)readFileSet(bytes, 0); });
}

void useRecipes(const std::vector<ZipRecipe>& recipes) {
  for (const ZipRecipe& entry : recipes) {
    for (const Recipe::Input& input : entry.recipe.inputs) {
      const auto* reference = boost::get<ExternalReference>(&input);
      if (!reference) continue;
      for (const char* name : {"6_0_data", "coordinates_0", "data"}) {
        Fuzz::expectDefined(
            [&] { (void)resolveDatasetKey(reference->datasetKey, "/variable/stress/12/3", name); });
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Kelbor::DataManager manager;
  const auto image = Fuzz::readContainer(std::as_bytes(std::span(data, size)));
  if (!image) return 0;
  readOneByOne(*image);
  Fuzz::expectDefined([&] {
    ImageFile file(manager, *image);
    SimulationMetadata metadata = loadMetadata(file);
    useRecipes(metadata.recipes);
    for (const std::string& name : metadata.variableMetaData.names) {
      Fuzz::expectDefined([&] { (void)metadata.precisions.getPrecision(name); });
    }
  });
  return 0;
}

// Recipes with payloads: builds the chain of each recipe of a container in memory and computes its
// results, both in the chain's own memory and in a host's array.
//
//   /kelbor/recipes   the recipes
//   /parameters       the parameter block of all chains
//   /sizes            the extents of the result, u64 each
//   /input/N          input N of the chain, in bytes
//   /reference/N      the result for the Nth external reference: element type, then values

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "container_image.hpp"
#include "contract.hpp"
#include "core/scoped_access.hpp"
#include "procedures/factory_table.hpp"
#include "recipes/chain_builder.hpp"

namespace {

using namespace morvex;
using Kelbor::BranchedChain;
using Kelbor::DataDimension;
using Kelbor::DataProvider;

constexpr std::size_t kInputs = 4;
constexpr std::size_t kMostRecipes = 4;
constexpr std::uint64_t kLargestExtent = 1U << 14;  // smaller than a host's, for speed

Kelbor::DataManager& manager() {
  static Kelbor::DataManager theManager;
  return theManager;
}

const Writer::Bytes* find(const Writer::ResultImage& image, const std::string& path) {
  return image.contains(path) ? &image.at(path) : nullptr;
}

std::vector<std::uint64_t> sizesIn(const Writer::ResultImage& image) {
  std::vector<std::uint64_t> sizes;
  if (const Writer::Bytes* bytes = find(image, "/sizes")) {
    sizes.resize(std::min<std::size_t>(bytes->size() / 8, 3));
    if (!sizes.empty()) std::memcpy(sizes.data(), bytes->data(), 8 * sizes.size());
  }
  std::uint64_t room = kLargestExtent;
  for (std::uint64_t& size : sizes) {
    size %= room + 1;
    room /= std::max<std::uint64_t>(size, 1);
  }
  return sizes;
}

std::vector<std::unique_ptr<DataProvider>> inputsIn(const Writer::ResultImage& image) {
  std::vector<std::unique_ptr<DataProvider>> inputs;
  for (std::size_t i = 0; i < kInputs; ++i) {
    auto& input = inputs.emplace_back();
    const Writer::Bytes* bytes = find(image, "/input/" + std::to_string(i));
    if (!bytes) continue;
    input = std::make_unique<DataProvider>(
        &manager(), DataDimension(Kelbor::DataTypes::kUInt8, {std::uint64_t{bytes->size()}}));
    input->copyMemory(bytes->data(), bytes->size());
  }
  return inputs;
}

void fillCache(DatasetCache& cache, const Recipe& recipe, const Writer::ResultImage& image) {
  std::size_t number = 0;
  for (const Recipe::Input& input : recipe.inputs) {
    const auto* reference = boost::get<ExternalReference>(&input);
    if (!reference) continue;
    const Writer::Bytes* bytes = find(image, "/reference/" + std::to_string(number++));
    if (!bytes || bytes->empty()) continue;
    const Kelbor::DataType type(std::to_integer<std::int32_t>(bytes->front()));
    const std::uint64_t count = (bytes->size() - 1) / type.getSize();
    auto provider =
        std::make_shared<Kelbor::StorageProvider>(&manager(), DataDimension(type, {count}));
    provider->copyMemory(bytes->data() + 1, count * type.getSize());
    cache.insert({static_cast<std::int32_t>(reference->outputIndex), reference->outputKey,
                  reference->datasetKey},
                 std::move(provider));
  }
}

/// With `intoHost`, results of 4 bytes per value are written to an exact heap block.
void pull(const Recipe& recipe, const Writer::ResultImage& image, bool intoHost) {
  DatasetCache cache;
  fillCache(cache, recipe, image);
  const std::vector<std::uint64_t> sizes = sizesIn(image);
  const Writer::Bytes* block = find(image, "/parameters");
  const Writer::Bytes parameters = block ? *block : Writer::Bytes();
  FactoryCache factories;
  const auto chain = recipe.buildChain(
      inputsIn(image), Deserializer(&manager(), parameters),
      {&manager(), Kelbor::MathModule::allClassCreators(), factories, sizes, cache});
  std::uint64_t count = 1;
  for (const std::uint64_t size : sizes) count *= size;
  const std::unique_ptr<float[]> host(new float[count]);
  for (const std::string& key : recipe.outputKeys) {
    if (key.empty()) continue;
    Fuzz::expectDefined([&] {
      Kelbor::DataProcedure& last = chain->getOutputProcedure(key);
      if (intoHost) last.setOutputBuffer(0, host.get(), count * sizeof(float));
      auto* output = dynamic_cast<DataProvider*>(last.getOutputProvider(0));
      (void)Kelbor::ScopedConstDataAny(output).bytes();
    });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto image = Fuzz::readContainer(std::as_bytes(std::span(data, size)));
  const Writer::Bytes* record = image ? find(*image, "/kelbor/recipes") : nullptr;
  if (!record) return 0;
  Fuzz::expectDefined([&] {
    const std::vector<ZipRecipe> recipes = readRecipes(*record);
    for (const ZipRecipe& entry :
         std::span(recipes).first(std::min(recipes.size(), kMostRecipes))) {
      for (const bool intoHost : {false, true}) {
        Fuzz::expectDefined([&] { pull(entry.recipe, *image, intoHost); });
      }
    }
  });
  return 0;
}

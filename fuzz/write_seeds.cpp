// Writes the seeds of all fuzzers, the start of their mutations: write_seeds DIRECTORY creates one
// folder per fuzzer.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <random>
#include <span>
#include <string>

#include "container_image.hpp"
#include "core/log.hpp"
#include "metadata/metadata_version.hpp"
#include "recipes/parameter_blocks.hpp"
#include "support/stored_forms.hpp"
#include "writer/recipes.hpp"
#include "writer/streams.hpp"

namespace {

using namespace morvex;
using namespace morvex::Writer;
using Kelbor::DataTypes::kFloat;
using Kelbor::DataTypes::kInt32;
using Kelbor::DataTypes::kUInt64;

using Ints = std::vector<std::int32_t>;

ParameterBlocks& blocks() {
  static ParameterBlocks all;
  return all;
}
const Ints kValues{3, -1, 4, 1, -5, 9, 2, 6};

class SeedFolder {
 public:
  explicit SeedFolder(const std::filesystem::path& path) : path_(path) {
    std::filesystem::create_directories(path);
  }

  void put(const std::string& name, const Bytes& content) const {
    std::ofstream out(path_ / name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()),
              static_cast<std::streamsize>(content.size()));
    if (!out.flush()) throw std::runtime_error("Can't write " + (path_ / name).string());
  }
  /// Once as the writer composes a container, once as the fuzzers' mutations do.
  void put(const std::string& name, const ResultImage& image, bool deflateRecords = false) const {
    image.write((path_ / (name + ".sdf")).string(), deflateRecords);
    std::mt19937 random(1);
    put(name + ".image", Fuzz::containerBytes(image, random));
  }

 private:
  std::filesystem::path path_;
};

/// The parameters of a chain of fuzz_chain, in the order in which procedures read them.
class ChainSeed {
 public:
  explicit ChainSeed(const RecipeBuilder& recipe) {
    image_["/kelbor/recipes"] = recipeListBytes(std::span(&recipe, 1));
    image_["/sizes"] = ByteWriter().u64(kValues.size()).take();
    parameters(ByteWriter());
  }
  ChainSeed& parameters(const ByteWriter& values) {
    image_["/parameters"] = ByteWriter(MetadataVersion{}).raw(values.bytes()).take();
    return *this;
  }
  ChainSeed& block(const ParameterBlock& whole) {
    image_["/parameters"] = whole;
    return *this;
  }
  ChainSeed& input(const Bytes& bytes) {
    image_["/input/" + std::to_string(inputs_++)] = bytes;
    return *this;
  }
  template <class T>
  ChainSeed& reference(const std::vector<T>& values) {
    const auto type = static_cast<std::uint8_t>(Kelbor::dataTypeOf<T>().enumerator());
    image_["/reference/" + std::to_string(references_++)] =
        ByteWriter().u8(type).array(values).take();
    return *this;
  }
  [[nodiscard]] const ResultImage& image() const { return image_; }

 private:
  ResultImage image_;
  int inputs_ = 0;
  int references_ = 0;
};

template <class T = std::int32_t>
Bytes chunked(const Ints& values, Chaining chaining = Chaining::kDifferences) {
  const std::vector<T> typed(values.begin(), values.end());
  return chunkedStream(std::span<const T>(typed), chaining, {.tableChunks = 2});
}

void writeValueChains(const SeedFolder& folder) {
  const PrecisionSetting uniform{QuantizationType::UniformQuantization, {0.5}};
  const PrecisionSetting adaptive{QuantizationType::AdaptiveExponentQuantization, {0.5, 0, 0, 0}};
  const PrecisionSetting shift{QuantizationType::AdaptiveShiftQuantization, {0.5, 0, 0, 0}};
  const Bytes positions = plainStream(std::vector<std::uint64_t>{1, 6});
  const Bytes outliers = plainStream(std::vector<float>{0.25F, -8.0F});
  const Ints exponents{0, 1, 2, 3, 0, 1, 2, 3, 0, 0x3FF00000};  // and a scale of 1
  const Ints edges{0, 1, 0, 2, 4, 5};
  const std::vector<std::uint64_t> starts{0, 2};

  folder.put("plain", ChainSeed(valueRecipe({}))
                          .block(blocks().decompression(kInt32))
                          .input(chunked(kValues))
                          .image());
  folder.put("short", ChainSeed(valueRecipe({}))
                          .block(blocks().decompression(Kelbor::DataTypes::kInt16))
                          .input(chunked<std::int16_t>(kValues))
                          .image());
  folder.put("long", ChainSeed(valueRecipe({}))
                         .block(blocks().decompression(kUInt64))
                         .input(chunked<std::uint64_t>(kValues))
                         .image());
  folder.put("time_one", ChainSeed(valueRecipe({.timeReferences = {"[ts-1]"}}))
                             .block(blocks().decompression(kInt32))
                             .input(chunked(kValues))
                             .reference(kValues)
                             .image());
  folder.put("time_two", ChainSeed(valueRecipe({.timeReferences = {"[ts-1]", "[ts+1]"}}))
                             .block(blocks().decompression(kInt32))
                             .input(chunked(kValues))
                             .reference(kValues)
                             .reference(kValues)
                             .image());
  folder.put("forest", ChainSeed(valueRecipe({.edgeListKey = "e", .treeStartsKey = "s"}))
                           .block(blocks().decompression(kInt32))
                           .input(chunked(kValues, Chaining::kNone))
                           .reference(edges)
                           .reference(starts)
                           .image());
  folder.put("uniform", ChainSeed(valueRecipe({.dequantise = true}))
                            .block(blocks().dequantization(true, uniform))
                            .input(chunked(kValues))
                            .input(positions)
                            .input(outliers)
                            .image());
  folder.put("split", ChainSeed(valueRecipe({.dequantise = true, .split = true}))
                          .block(blocks().dequantization(false, uniform))
                          .input({})
                          .input(positions)
                          .input(outliers)
                          .reference(kValues)
                          .image());
  for (const auto& setting : {adaptive, shift}) {
    folder.put(setting == adaptive ? "exponents" : "shifts",
               ChainSeed(valueRecipe({.dequantise = true, .exponentsKey = "_qe"}))
                   .block(blocks().dequantization(true, setting))
                   .input(chunked(kValues))
                   .input(positions)
                   .input(outliers)
                   .reference(exponents)
                   .image());
  }
}

/// Chains that no kind of data uses by itself, and those with parameters of their own.
void writeOtherChains(const SeedFolder& folder) {
  const IdWindowPayloads ids = idWindowPayloads(Ints{5, 6, 5, 5, 7, 6, 3, 7}, 2);
  folder.put("windows", ChainSeed(idWindowRecipe())
                            .block(blocks().window())
                            .input(ids.references)
                            .input(ids.newIds)
                            .image());
  folder.put("stored", ChainSeed(valueRecipe({.label = kStoredParametersLabel}))
                           .block(storedParameters(kValues.size(), kInt32.enumerator()))
                           .input(chunked(kValues))
                           .image());

  RecipeBuilder sums("sums");
  const std::uint32_t values = sums.add(ClassTag::kDecoderZlib, {chainInput(0)});
  const std::uint32_t simple = sums.add(ClassTag::kSimpleSums, {outputOf(values)});
  sums.add(ClassTag::kOffsetSums, {outputOf(simple)}, "Uncompressed");
  folder.put("sums", ChainSeed(sums)
                         .parameters(ByteWriter().i32(kInt32.enumerator()).u64(2))
                         .input(plainStream(kValues))
                         .image());

  RecipeBuilder single("single");
  single.add(ClassTag::kChunkedZlib, {chainInput(0)}, "Uncompressed");
  folder.put("single", ChainSeed(single)
                           .parameters(ByteWriter().i32(kInt32.enumerator()).u64(16))
                           .input(planeStream<std::int32_t>(kValues, Chaining::kDifferences, 16))
                           .image());
}

/// Bytes of a seed: room for the values; their division into chunks; two bits for the kind of what
/// follows (a stream, bare deflate blocks, material for blocks, the same divided) and a window.
void writeInflateSeeds(const SeedFolder& folder) {
  Ints values;
  for (int i = 0; i < 1000; ++i) values.push_back(i % 7 * i);
  const Bytes planes = planeStream<std::int32_t>(values, Chaining::kDifferences, 256);
  const Bytes window = windowStream<std::int32_t>(values);
  const ByteWriter front = ByteWriter().u8(125).u8(3 | 4 << 3).u8(9 << 2);
  folder.put("planes", ByteWriter(front).raw(planes).take());
  folder.put("window", ByteWriter(front).raw(window).take());
  folder.put("plain", ByteWriter(front).raw(plainStream(values)).take());
  folder.put("blocks", ByteWriter()
                           .u8(125)
                           .u8(3 | 4 << 3)
                           .u8(9 << 2 | 1)
                           .raw(std::span(window).subspan(2, window.size() - 6))
                           .take());
}

void writeSeeds(const std::filesystem::path& directory) {
  for (const StoredForm& form : kStoredForms) {
    const ResultImage image = imageOf(form);
    for (const char* fuzzer : {"fuzz_exports", "fuzz_api", "fuzz_container", "fuzz_records"}) {
      SeedFolder(directory / fuzzer).put(form.name, image, form.deflatesRecords);
    }
  }
  const SeedFolder chains(directory / "fuzz_chain");
  writeValueChains(chains);
  writeOtherChains(chains);
  writeInflateSeeds(SeedFolder(directory / "fuzz_inflate"));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "Usage: write_seeds DIRECTORY\n");
    return 2;
  }
  Kelbor::getLogger().setLogLevel(Kelbor::LogLevel::kError);
  try {
    writeSeeds(argv[1]);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

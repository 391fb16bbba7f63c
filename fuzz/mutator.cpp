#include "mutator.hpp"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <iterator>
#include <optional>

#include "container_image.hpp"
#include "writer/recipes.hpp"
#include "writer/streams.hpp"

/// libFuzzer's own mutations: change the bytes in place, up to `maxSize`, and return their size.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace morvex::Fuzz {

using Writer::Bytes;
using Writer::ResultImage;

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kMostChunks = 64;
constexpr std::size_t kLargestStream = 1U << 16;
constexpr std::size_t kRoomToGrow = 64;

constexpr std::array kDistances{"[ts-1]", "[ts+1]", "[ts-2]", "[ts+2]", "[ts0]", "1_data[ts-1]"};
constexpr std::array kSuffixes{"_vquant", "_qe", "_op", "_ov", "_notreused", "coordinates_qe"};
constexpr std::array kTemplates{"/geometry/0/0/<p>/<e>_nodeEdgeList",
                                "/geometry/0/0/<p>/<e>_nodeTreeStarts", "/geometry/0/0/<p>/<e>",
                                "coordinates_0", "0_data"};
constexpr std::array kOutputKeys{"Uncompressed", "Dequantized", ""};
constexpr std::array kLabels{"DefaultDecompression",
                             "TreeDiffDecompression",
                             "WindowDecompression",
                             "DefaultCompressionWithNonDefaultTargetSize",
                             "abs_uniform",
                             "abs_uniform-NONSPLIT",
                             "abs_uniform-NONSPLIT-TRDIFF",
                             "abs_uniform-Extrapolation:DefaultDecompression",
                             "abs_uniform-Interpolation:TreeDiffDecompression",
                             "adapt_shift",
                             "linadapt_exponent"};
constexpr std::int32_t kFirstTag = 1001;
constexpr std::int32_t kTagCount = 10;

std::optional<Bytes> inflated(const Bytes& stream) {
  Bytes content(kLargestStream);
  auto size = static_cast<uLongf>(content.size());
  if (::uncompress(reinterpret_cast<Bytef*>(content.data()), &size,
                   reinterpret_cast<const Bytef*>(stream.data()), stream.size()) != Z_OK) {
    return std::nullopt;
  }
  content.resize(size);
  return content;
}

/// The parts of a chunk table.
struct Chunks {
  std::vector<std::uint64_t> valueCounts;
  std::vector<Bytes> streams;
};

std::optional<Chunks> readChunks(std::span<const std::byte> payload) {
  const auto word = [&payload](std::size_t index) {
    std::uint64_t value = 0;
    std::memcpy(&value, payload.data() + 8 * index, sizeof value);
    return value;
  };
  if (payload.size() < 8) return std::nullopt;
  const std::uint64_t count = word(0);
  if (count > kMostChunks || payload.size() < 8 + 16 * count) return std::nullopt;
  Chunks chunks;
  std::size_t at = 8 + 16 * count;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t size = word(1 + i);
    if (size > payload.size() - at) return std::nullopt;
    const auto stream = payload.subspan(at, size);
    chunks.streams.emplace_back(stream.begin(), stream.end());
    chunks.valueCounts.push_back(word(1 + count + i));
    at += size;
  }
  return chunks;
}

}  // namespace

void Mutator::mutate(ResultImage& image) {
  if (oneIn(8)) return mutateTree(image);
  const std::string path = somePath(image);
  mutateDataset(path, image[path]);
}

void Mutator::cross(ResultImage& image, const ResultImage& other) {
  const std::size_t count = 1 + below(4);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string& path = somePath(other);
    image[oneIn(4) ? somePath(image) : path] = other.at(path);
  }
}

void Mutator::mutateTree(ResultImage& image) {
  const std::string path = somePath(image);
  const std::string other = somePath(image);
  switch (below(4)) {
    case 0:
      if (path != other) image.erase(path);
      break;
    case 1:
      image[path] = Bytes(image.at(other));
      break;
    case 2:
      std::swap(image[path], image[other]);
      break;
    default:
      image[path + kSuffixes[below(kSuffixes.size())]] = Bytes(image.at(other));
  }
}

void Mutator::mutateDataset(const std::string& path, Bytes& content) {
  if (oneIn(16)) return mutateBytes(content);
  if (path.ends_with("/recipes")) return mutateRecipes(content);
  if (path.ends_with("_op") || path.ends_with("_ov")) return mutateStream(content);
  if (path.starts_with("/input/")) return mutatePayload(content);
  const bool isEncoded = path.starts_with("/geometry/") || path.starts_with("/variable/");
  if (!isEncoded || content.size() < kHeaderBytes || oneIn(8)) return mutateNumber(content);
  Bytes payload(content.begin() + kHeaderBytes, content.end());
  mutatePayload(payload);
  content.resize(kHeaderBytes);
  content.insert(content.end(), payload.begin(), payload.end());
}

void Mutator::mutateRecipes(Bytes& record) {
  std::vector<ZipRecipe> recipes;
  try {
    recipes = readRecipes(record);
  } catch (const InternalError&) {
  } catch (const UsageException&) {
  }
  if (recipes.empty()) return mutateBytes(record);
  ZipRecipe& entry = recipes[below(recipes.size())];
  if (oneIn(8)) {
    entry.label = kLabels[below(kLabels.size())];
  } else if (oneIn(16)) {
    resize(recipes);
  } else {
    mutateRecipe(entry.recipe);
  }
  record = Writer::recipeListBytes(recipes);
}

void Mutator::mutateRecipe(Recipe& recipe) {
  switch (below(6)) {
    case 0: {  // the tag of a class; those in wrappers are at odd offsets
      if (recipe.classStream.size() < 16) return mutateBytes(recipe.classStream);
      const std::int32_t tag = kFirstTag + static_cast<std::int32_t>(below(kTagCount));
      const std::size_t words = recipe.classStream.size() / 4 - 3;
      std::memcpy(recipe.classStream.data() + 12 + 4 * below(words), &tag, sizeof tag);
      break;
    }
    case 1:
      if (recipe.inputs.empty()) return resize(recipe.inputs);
      recipe.inputs[below(recipe.inputs.size())] = someInput();
      break;
    case 2:
      if (recipe.inputCounts.empty()) return resize(recipe.inputCounts);
      mutateNumber(std::as_writable_bytes(
          std::span(&recipe.inputCounts[below(recipe.inputCounts.size())], 1)));
      break;
    case 3: {  // one more input for one procedure
      if (recipe.inputCounts.empty()) return;
      const std::size_t procedure = below(recipe.inputCounts.size());
      std::size_t at = 0;
      for (std::size_t p = 0; p <= procedure; ++p) at += recipe.inputCounts[p];
      at = std::min(at, recipe.inputs.size());
      recipe.inputs.insert(recipe.inputs.begin() + static_cast<std::ptrdiff_t>(at), someInput());
      ++recipe.inputCounts[procedure];
      break;
    }
    case 4:
      if (recipe.outputKeys.empty()) return;
      recipe.outputKeys[below(recipe.outputKeys.size())] = kOutputKeys[below(kOutputKeys.size())];
      break;
    default:
      mutateBytes(recipe.classStream);
  }
}

Recipe::Input Mutator::someInput() {
  const auto index = static_cast<std::uint32_t>(below(oneIn(8) ? 1000 : 4));
  switch (below(8)) {
    case 0:
      return boost::blank{};
    case 1:
    case 2:
      return Recipe::ChainInput{index};
    case 3:
    case 4:
      return Recipe::ProcedureOutput{index, static_cast<std::uint32_t>(oneIn(8) ? index : 0)};
    default:
      return ExternalReference{oneIn(8) ? index : 0, someKey(),
                               kOutputKeys[below(kOutputKeys.size())], oneIn(4)};
  }
}

void Mutator::mutatePayload(Bytes& payload) {
  auto chunks = readChunks(payload);
  if (!chunks || chunks->streams.empty() || oneIn(8)) return mutateNumber(payload);
  const std::size_t chunk = below(chunks->streams.size());
  switch (below(8)) {
    case 0:
      chunks->valueCounts[chunk] = someNumber(chunks->valueCounts[chunk]);
      break;
    case 1:
      chunks->streams.push_back(chunks->streams[chunk]);
      chunks->valueCounts.push_back(chunks->valueCounts[chunk]);
      break;
    case 2:
      chunks->streams.erase(chunks->streams.begin() + static_cast<std::ptrdiff_t>(chunk));
      chunks->valueCounts.erase(chunks->valueCounts.begin() + static_cast<std::ptrdiff_t>(chunk));
      break;
    default:
      mutateStream(chunks->streams[chunk]);
  }
  payload = Writer::chunkTable(chunks->streams, chunks->valueCounts);
}

void Mutator::mutateStream(Bytes& stream) {
  auto content = oneIn(8) ? std::nullopt : inflated(stream);
  if (!content) return mutateBytes(stream);
  if (oneIn(2)) {
    mutateNumber(*content);
  } else {
    mutateBytes(*content);
  }
  stream = Writer::zlibStream(*content);
}

void Mutator::mutateNumber(std::span<std::byte> bytes) {
  if (bytes.empty()) return;
  const std::size_t width = std::min<std::size_t>(std::size_t{1} << below(4), bytes.size());
  // Most records consist of 32-bit words.
  const std::size_t step = oneIn(4) ? 1 : std::min<std::size_t>(width, 4);
  const std::size_t at = below((bytes.size() - width) / step + 1) * step;
  std::uint64_t value = 0;
  std::memcpy(&value, bytes.data() + at, width);
  value = someNumber(value);
  std::memcpy(bytes.data() + at, &value, width);
}

void Mutator::mutateBytes(Bytes& bytes) {
  const std::size_t size = bytes.size();
  bytes.resize(size + kRoomToGrow);
  bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, bytes.size()));
}

std::uint64_t Mutator::someNumber(std::uint64_t old) {
  const std::uint64_t power = std::uint64_t{1} << below(64);
  switch (below(8)) {
    case 0:
      return old + 1;
    case 1:
      return old - 1;
    case 2:
      return 0;
    case 3:
      return ~std::uint64_t{0} - below(2);
    case 4:
      return power - below(2);
    case 5:
      return old ^ power;
    case 6:
      return old * 2;
    default:
      return below(64);
  }
}

std::string Mutator::someKey() {
  switch (below(3)) {
    case 0:
      return kDistances[below(kDistances.size())];
    case 1:
      return kSuffixes[below(kSuffixes.size())];
    default:
      return kTemplates[below(kTemplates.size())];
  }
}

const std::string& Mutator::somePath(const ResultImage& image) {
  return std::next(image.datasets().begin(),
                   static_cast<std::ptrdiff_t>(below(image.datasets().size())))
      ->first;
}

template <class T>
void Mutator::resize(std::vector<T>& items) {
  if (items.empty() || oneIn(2)) {
    items.push_back(items.empty() ? T{} : T(items[below(items.size())]));
  } else {
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(below(items.size())));
  }
}

namespace {

/// Mutations of the input after it is a container again.
std::size_t handOver(const ResultImage& image, std::mt19937& random, std::uint8_t* data,
                     std::size_t maxSize) {
  const Bytes bytes = containerBytes(image, random);
  if (bytes.size() > maxSize) return 0;
  std::memcpy(data, bytes.data(), bytes.size());
  return bytes.size();
}

}  // namespace
}  // namespace morvex::Fuzz

using namespace morvex::Fuzz;

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  std::mt19937 random(seed);
  constexpr unsigned kPlainMutations = 16;  // of the container's own bytes
  if (random() % kPlainMutations != 0) {
    auto image = readContainer(std::as_bytes(std::span(data, size)));
    if (image && !image->datasets().empty()) {
      Mutator mutator(random);
      const unsigned count = 1 + random() % 3;
      for (unsigned i = 0; i < count; ++i) mutator.mutate(*image);
      if (const std::size_t made = handOver(*image, random, data, maxSize)) return made;
    }
  }
  return LLVMFuzzerMutate(data, size, maxSize);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize,
                                                 std::uint8_t* out, std::size_t maxSize,
                                                 unsigned seed) {
  std::mt19937 random(seed);
  auto image = readContainer(std::as_bytes(std::span(first, firstSize)));
  const auto other = readContainer(std::as_bytes(std::span(second, secondSize)));
  if (!image || !other || image->datasets().empty() || other->datasets().empty()) return 0;
  Mutator(random).cross(*image, *other);
  return handOver(*image, random, out, maxSize);
}

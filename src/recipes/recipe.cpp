#include "recipes/recipe.hpp"

#include <algorithm>
#include <array>

#include "metadata/deserializer.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_cursor.hpp"

namespace morvex {
namespace {

using Kelbor::raise;

constexpr std::array<std::byte, 2> kChainMagic{std::byte{'D'}, std::byte{'C'}};

enum InputTag : std::uint32_t { kChainInput = 0, kProcedureOutput = 1, kExternalReference = 2 };

Recipe::Input readInput(Deserializer& block) {
  const std::uint32_t tag = block.readU32();
  if (tag == kChainInput) return Recipe::ChainInput{block.readU32()};
  if (tag == kProcedureOutput) {
    Recipe::ProcedureOutput source{};
    source.procedure = block.readU32();
    source.output = block.readU32();
    return source;
  }
  if (tag == kExternalReference) {
    ExternalReference reference;
    reference.outputIndex = block.readU32();
    reference.datasetKey = block.readText();
    reference.outputKey = block.readText();
    reference.optional = block.readU8() > 0;
    return reference;
  }
  return boost::blank{};
}

Recipe readRecipeBlock(const std::vector<std::byte>& bytes) {
  Deserializer block(nullptr, bytes);
  for (const std::byte character : kChainMagic) {
    if (static_cast<std::byte>(block.readU8()) != character) {
      raise<InternalError>("Invalid chain block detected");
    }
  }
  Recipe recipe;
  recipe.classStream = block.readBytes();
  recipe.inputCounts = block.readU32Vector();
  const std::uint64_t inputCount = block.readCount(sizeof(std::uint32_t));
  recipe.inputs.reserve(inputCount);
  for (std::uint64_t i = 0; i < inputCount; ++i) recipe.inputs.push_back(readInput(block));
  const std::uint64_t keyCount = block.readCount(sizeof(std::uint64_t));
  recipe.outputKeys.reserve(keyCount);
  for (std::uint64_t i = 0; i < keyCount; ++i) recipe.outputKeys.push_back(block.readText());
  return recipe;
}

std::string readTerminatedText(RecordCursor& cursor) {
  std::string text;
  for (char c = cursor.read<char>(); c != '\0'; c = cursor.read<char>()) text += c;
  return text;
}

}  // namespace

std::vector<ZipRecipe> readRecipes(std::span<const std::byte> record) {
  RecordCursor cursor(record);
  requireReadableVersion(cursor, {0, 0, 0}, "ZipRecipe meta data requires meta data version ");
  const auto count = std::max(cursor.read<std::int32_t>(), 0);
  constexpr std::size_t kSmallestEntry = sizeof(std::int32_t) + 1;
  std::vector<ZipRecipe> recipes;
  recipes.reserve(cursor.checkCount(static_cast<std::uint64_t>(count), kSmallestEntry));
  for (std::int32_t i = 0; i < count; ++i) {
    const auto byteCount = std::max(cursor.read<std::int32_t>(), 0);
    const auto block = cursor.take(static_cast<std::uint64_t>(byteCount));
    ZipRecipe& entry = recipes.emplace_back();
    entry.recipe = readRecipeBlock({block.begin(), block.end()});
    entry.label = readTerminatedText(cursor);
  }
  return recipes;
}

}  // namespace morvex

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/error.hpp"
#include "recipes/parameter_blocks.hpp"
#include "recipes/recipe.hpp"

namespace morvex {
namespace {

/// Packs numbers and texts as the records hold them.
class Packed {
 public:
  template <class T>
  Packed& add(T value) {
    const auto* bytes = reinterpret_cast<const std::byte*>(&value);
    for (std::size_t i = 0; i < sizeof(T); ++i) bytes_.push_back(bytes[i]);
    return *this;
  }
  Packed& text(const std::string& characters) {
    for (const char c : characters) add(c);
    return *this;
  }
  Packed& countedText(const std::string& characters) {
    return add(std::uint64_t{characters.size()}).text(characters);
  }
  Packed& version() { return add(std::uint32_t{0}).add(std::uint32_t{0}).add(std::uint32_t{0}); }
  Packed& block(const Packed& inner) {
    add(static_cast<std::int32_t>(inner.bytes_.size()));
    for (const std::byte b : inner.bytes_) bytes_.push_back(b);
    return *this;
  }
  [[nodiscard]] const std::vector<std::byte>& bytes() const { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
};

Packed wholeBlock() {
  Packed block;
  block.version().text("DC");
  block.countedText(std::string("stream\0bytes", 12));
  block.add(std::uint64_t{2}).add(std::uint32_t{3}).add(std::uint32_t{1});
  block.add(std::uint64_t{4});
  block.add(std::uint32_t{0}).add(std::uint32_t{7});
  block.add(std::uint32_t{1}).add(std::uint32_t{5}).add(std::uint32_t{6});
  block.add(std::uint32_t{2}).add(std::uint32_t{9});
  block.countedText("[ts-1]").countedText("Sum").add(std::uint8_t{2});
  block.add(std::uint32_t{77});  // a kind that nobody knows takes nothing more
  return block.add(std::uint64_t{2}).countedText("").countedText("Uncompressed");
}

Packed wholeRecord() {
  Packed record;
  record.version().add(std::int32_t{1}).block(wholeBlock()).text(std::string("abs_x\0", 6));
  return record;
}

TEST(RecipeRecord, HoldsClassesWiringAndKeys) {
  const auto recipes = readRecipes(wholeRecord().bytes());
  ASSERT_EQ(recipes.size(), 1U);
  EXPECT_EQ(recipes[0].label, "abs_x");
  const Recipe& recipe = recipes[0].recipe;
  EXPECT_EQ(recipe.classStream.size(), 12U);
  EXPECT_EQ(recipe.inputCounts, (std::vector<std::uint32_t>{3, 1}));
  EXPECT_EQ(recipe.outputKeys, (std::vector<std::string>{"", "Uncompressed"}));
  ASSERT_EQ(recipe.inputs.size(), 4U);
  EXPECT_EQ(boost::get<Recipe::ChainInput>(recipe.inputs[0]).index, 7U);
  EXPECT_EQ(boost::get<Recipe::ProcedureOutput>(recipe.inputs[1]).procedure, 5U);
  EXPECT_EQ(boost::get<Recipe::ProcedureOutput>(recipe.inputs[1]).output, 6U);
  EXPECT_EQ(boost::get<ExternalReference>(recipe.inputs[2]),
            (ExternalReference{9, "[ts-1]", "Sum", true}));
  EXPECT_NE(boost::get<boost::blank>(&recipe.inputs[3]), nullptr);
}

TEST(RecipeRecord, EveryTruncationIsRefused) {
  const std::vector<std::byte> whole = wholeRecord().bytes();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::vector<std::byte> cut(whole.data(), whole.data() + length);
    EXPECT_THROW((void)readRecipes(cut), InternalError) << "length " << length;
  }
}

TEST(RecipeRecord, RefusesWhatIsNoChainAndCountsBeyondTheBytes) {
  Packed wrongMagic;
  wrongMagic.version().text("DX");
  Packed noVersion;  // shorter than a version: the magic is looked for behind it all the same
  noVersion.text("DC");
  Packed hugeCount;
  hugeCount.version().text("DC").countedText("").add(~std::uint64_t{0} / 4);
  for (const Packed* block : {&wrongMagic, &noVersion, &hugeCount}) {
    Packed record;
    record.version().add(std::int32_t{1}).block(*block).text(std::string(1, '\0'));
    EXPECT_THROW((void)readRecipes(record.bytes()), InternalError);
  }
  Packed manyRecipes;
  manyRecipes.version().add(std::int32_t{0x7FFFFFFF});
  EXPECT_THROW((void)readRecipes(manyRecipes.bytes()), InternalError);
  Packed none;
  none.version().add(std::int32_t{-5});
  EXPECT_TRUE(readRecipes(none.bytes()).empty());
}

TEST(ParameterBlocks, HoldTheValuesInTheOrderOfTheChain) {
  const Packed decompression =
      Packed().version().add(std::int32_t{-1}).add(std::int32_t{4}).add(std::uint64_t{65536});
  EXPECT_EQ(decompressionBlock(Kelbor::DataTypes::kInt16), decompression.bytes());

  const Packed window =
      Packed().version().add(std::int32_t{-1}).add(std::int32_t{3}).add(std::int32_t{6});
  EXPECT_EQ(windowBlock(), window.bytes());

  const PrecisionSetting uniform{QuantizationType::UniformQuantization, {0.25}};
  Packed split = Packed().version().add(std::int32_t{9}).add(std::int32_t{10});
  split.add(std::uint32_t{0}).add(0.25).add(std::uint8_t{0});
  EXPECT_EQ(dequantizationBlock(false, uniform), split.bytes());

  const PrecisionSetting adaptive{QuantizationType::AdaptiveExponentQuantization, {1, 2, 3, 4}};
  Packed whole = Packed().version().add(std::int32_t{-1}).add(std::int32_t{6});
  whole.add(std::uint64_t{65536}).add(std::int32_t{9}).add(std::int32_t{10});
  whole.add(std::uint32_t{3}).add(-1.0).add(std::uint8_t{0});
  EXPECT_EQ(dequantizationBlock(true, adaptive), whole.bytes());
}

}  // namespace
}  // namespace morvex

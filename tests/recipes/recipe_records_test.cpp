#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/error.hpp"
#include "recipes/parameter_blocks.hpp"
#include "recipes/recipe.hpp"
#include "writer/byte_writer.hpp"

namespace morvex {
namespace {

using Writer::ByteWriter;

/// Begins as records and blocks do.
ByteWriter versioned() {
  return ByteWriter(MetadataVersion{});
}

/// A list of one recipe.
ByteWriter recordOf(const ByteWriter& block, std::string_view label) {
  return versioned()
      .i32(1)
      .i32(static_cast<std::int32_t>(block.bytes().size()))
      .raw(block.bytes())
      .text(label)
      .u8(0);
}

ByteWriter wholeBlock() {
  ByteWriter block = versioned().text("DC");
  block.countedText(std::string_view("stream\0bytes", 12));
  block.u64(2).u32(3).u32(1);
  block.u64(4);
  block.u32(0).u32(7);
  block.u32(1).u32(5).u32(6);
  block.u32(2).u32(9).countedText("[ts-1]").countedText("Sum").u8(2);
  block.u32(77);  // a kind that nobody knows takes nothing more
  return block.u64(2).countedText("").countedText("Uncompressed");
}

ByteWriter wholeRecord() {
  return recordOf(wholeBlock(), "abs_x");
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
  std::vector<ByteWriter> broken{
      versioned().text("DX"),
      ByteWriter().text("DC"),  // shorter than a version: the magic is looked for behind it
  };
  const ByteWriter withoutInputs = versioned().text("DC").countedText("").u64(0).u64(0);
  for (const std::uint64_t count : {std::uint64_t{5}, ~std::uint64_t{0}, ~std::uint64_t{0} / 4}) {
    broken.push_back(versioned().text("DC").u64(count).u32(1));
    broken.push_back(versioned().text("DC").countedText("").u64(count).u32(1));
    broken.push_back(versioned().text("DC").countedText("").u64(0).u64(count).u32(1));
    broken.push_back(ByteWriter(withoutInputs).u64(count).u32(1));
    broken.push_back(ByteWriter(withoutInputs).u64(1).u64(count).u32(1));
  }
  for (const ByteWriter& block : broken) {
    EXPECT_THROW((void)readRecipes(recordOf(block, "").bytes()), InternalError);
  }
  EXPECT_THROW((void)readRecipes(versioned().i32(0x7FFFFFFF).bytes()), InternalError);
  EXPECT_TRUE(readRecipes(versioned().i32(-5).bytes()).empty());
}

TEST(ParameterBlocks, HoldTheValuesInTheOrderOfTheChain) {
  ParameterBlocks blocks;
  const ByteWriter decompression = versioned().i32(-1).i32(4).u64(65536);
  EXPECT_EQ(blocks.decompression(Kelbor::DataTypes::kInt16), decompression.bytes());
  EXPECT_EQ(blocks.window(), versioned().i32(-1).i32(3).i32(6).bytes());

  const PrecisionSetting uniform{QuantizationType::UniformQuantization, {0.25}};
  const ByteWriter split = versioned().i32(9).i32(10).u32(0).f64(0.25).u8(0);
  EXPECT_EQ(blocks.dequantization(false, uniform), split.bytes());

  const PrecisionSetting adaptive{QuantizationType::AdaptiveExponentQuantization, {1, 2, 3, 4}};
  const ByteWriter whole =
      versioned().i32(-1).i32(6).u64(65536).i32(9).i32(10).u32(3).f64(-1.0).u8(0);
  EXPECT_EQ(blocks.dequantization(true, adaptive), whole.bytes());
}

}  // namespace
}  // namespace morvex

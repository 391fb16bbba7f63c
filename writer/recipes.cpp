#include "writer/recipes.hpp"

#include <boost/variant/apply_visitor.hpp>
#include <utility>

namespace morvex::Writer {
namespace {

constexpr MetadataVersion kFirstVersion{0, 0, 0};
constexpr const char* kUncompressedKey = "Uncompressed";
constexpr const char* kDequantizedKey = "Dequantized";

/// Each kind of input with its tag. An unset one gets a tag that readers refuse.
class InputWriter : public boost::static_visitor<void> {
 public:
  explicit InputWriter(ByteWriter& out) : out_(out) {}

  void operator()(const boost::blank&) const { out_.u32(kUnknownTag); }
  void operator()(const Recipe::ChainInput& input) const { out_.u32(0).u32(input.index); }
  void operator()(const Recipe::ProcedureOutput& source) const {
    out_.u32(1).u32(source.procedure).u32(source.output);
  }
  void operator()(const ExternalReference& reference) const {
    out_.u32(2).u32(reference.outputIndex).countedText(reference.datasetKey);
    out_.countedText(reference.outputKey).u8(reference.optional ? 1 : 0);
  }

 private:
  static constexpr std::uint32_t kUnknownTag = 3;
  ByteWriter& out_;
};

void append(Bytes& classStream, const ByteWriter& values) {
  classStream.insert(classStream.end(), values.bytes().begin(), values.bytes().end());
}

/// Version, "DC", the procedures' classes, the number of inputs of each, the inputs, the keys.
Bytes blockOf(const Recipe& recipe) {
  ByteWriter out(kFirstVersion);
  out.text("DC").u64(recipe.classStream.size()).raw(recipe.classStream);
  out.u64(recipe.inputCounts.size()).array(recipe.inputCounts).u64(recipe.inputs.size());
  for (const Recipe::Input& input : recipe.inputs) boost::apply_visitor(InputWriter(out), input);
  out.u64(recipe.outputKeys.size());
  for (const std::string& key : recipe.outputKeys) out.countedText(key);
  return out.take();
}

}  // namespace

Recipe::Input chainInput(std::uint32_t index) {
  return Recipe::ChainInput{index};
}

Recipe::Input outputOf(std::uint32_t procedure, std::uint32_t output) {
  return Recipe::ProcedureOutput{procedure, output};
}

Recipe::Input external(std::string datasetKey, bool optional) {
  return ExternalReference{0, std::move(datasetKey), kUncompressedKey, optional};
}

RecipeBuilder::RecipeBuilder(std::string label) {
  entry_.label = std::move(label);
  entry_.recipe.classStream = ByteWriter(kFirstVersion).take();
}

std::uint32_t RecipeBuilder::add(ClassTag tag, std::vector<Recipe::Input> inputs,
                                 const std::string& outputKey) {
  append(entry_.recipe.classStream, ByteWriter().i32(static_cast<std::int32_t>(tag)));
  return addWiring(std::move(inputs), outputKey);
}

std::uint32_t RecipeBuilder::addParallel(ClassTag inner, std::vector<Recipe::Input> inputs,
                                         const std::string& outputKey) {
  const Bytes block = ByteWriter(kFirstVersion).i32(static_cast<std::int32_t>(inner)).take();
  append(entry_.recipe.classStream, ByteWriter()
                                        .i32(static_cast<std::int32_t>(ClassTag::kParallelWrapper))
                                        .u64(block.size())
                                        .raw(block));
  return addWiring(std::move(inputs), outputKey);
}

std::uint32_t RecipeBuilder::addWiring(std::vector<Recipe::Input> inputs,
                                       const std::string& outputKey) {
  Recipe& recipe = entry_.recipe;
  recipe.inputCounts.push_back(static_cast<std::uint32_t>(inputs.size()));
  recipe.inputs.insert(recipe.inputs.end(), inputs.begin(), inputs.end());
  recipe.outputKeys.push_back(outputKey);
  return static_cast<std::uint32_t>(recipe.outputKeys.size() - 1);
}

Bytes RecipeBuilder::block() const {
  return blockOf(entry_.recipe);
}

Bytes recipeListBytes(std::span<const RecipeBuilder> recipes) {
  std::vector<ZipRecipe> entries;
  for (const RecipeBuilder& recipe : recipes) entries.push_back(recipe.entry());
  return recipeListBytes(entries);
}

Bytes recipeListBytes(std::span<const ZipRecipe> recipes) {
  ByteWriter out(kFirstVersion);
  out.i32(static_cast<std::int32_t>(recipes.size()));
  for (const auto& [recipe, label] : recipes) {
    const Bytes block = blockOf(recipe);
    out.i32(static_cast<std::int32_t>(block.size())).raw(block).text(label).u8(0);
  }
  return out.take();
}

RecipeBuilder valueRecipe(const ValueRecipe& what) {
  RecipeBuilder recipe(what.label);
  Recipe::Input integers = external("_vquant");
  if (!what.split) {
    const bool isTree = !what.edgeListKey.empty();
    const bool isDifference = !what.timeReferences.empty();
    // The last procedure that makes integers carries the name of the result.
    const auto keyIf = [](bool isLast) { return isLast ? kUncompressedKey : ""; };
    std::uint32_t last =
        recipe.addParallel(isTree ? ClassTag::kChunkedZlibTree : ClassTag::kChunkedZlib,
                           {chainInput(0)}, keyIf(!isTree && !isDifference));
    if (isTree) {
      last = recipe.add(ClassTag::kTreeSums,
                        {outputOf(last), external(what.edgeListKey), external(what.treeStartsKey)},
                        keyIf(!isDifference));
    }
    if (isDifference) {
      std::vector<Recipe::Input> inputs{outputOf(last)};
      for (const std::string& key : what.timeReferences) inputs.push_back(external(key));
      last = recipe.add(ClassTag::kVectorSums, std::move(inputs), keyIf(true));
    }
    integers = outputOf(last);
  }
  if (what.dequantise) {
    // Inputs 1 and 2 are positions and values of outliers; readers pass null where there are none.
    const std::uint32_t positions = recipe.add(ClassTag::kDecoderZlib, {chainInput(1)});
    const std::uint32_t values = recipe.add(ClassTag::kDecoderZlib, {chainInput(2)});
    std::vector<Recipe::Input> inputs{integers, outputOf(positions), outputOf(values)};
    if (!what.exponentsKey.empty()) inputs.push_back(external(what.exponentsKey));
    recipe.add(ClassTag::kDequantization, std::move(inputs), kDequantizedKey);
  }
  return recipe;
}

RecipeBuilder idWindowRecipe() {
  RecipeBuilder recipe("WindowDecompression");
  recipe.addParallel(ClassTag::kIdWindowChain, {chainInput(0), chainInput(1)}, kUncompressedKey);
  return recipe;
}

Bytes storedParameters(std::uint64_t valueCount, std::int32_t dataType,
                       std::uint64_t planeChunkBytes) {
  constexpr std::int32_t kChunkTable = -1;
  return ByteWriter(kFirstVersion)
      .u64(valueCount)
      .i32(kChunkTable)
      .i32(dataType)
      .u64(planeChunkBytes)
      .take();
}

}  // namespace morvex::Writer

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "recipes/recipe.hpp"
#include "writer/byte_writer.hpp"

namespace morvex::Writer {

/// Class-type tags of the procedures that a recipe can name.
enum class ClassTag : std::int32_t {
  kChunkedZlib = 1001,
  kParallelWrapper = 1002,
  kSimpleSums = 1003,
  kIdWindowChain = 1004,
  kDequantization = 1005,
  kDecoderZlib = 1006,
  kVectorSums = 1007,
  kTreeSums = 1008,
  kChunkedZlibTree = 1009,
  kOffsetSums = 1010,
};

/// The source of a procedure's input.
[[nodiscard]] Recipe::Input chainInput(std::uint32_t index);
[[nodiscard]] Recipe::Input outputOf(std::uint32_t procedure, std::uint32_t output = 0);
/// The result "Uncompressed" of another dataset, by a key relative to the dataset being read.
[[nodiscard]] Recipe::Input external(std::string datasetKey, bool optional = false);

/// A chain of procedures, in the order in which readers make them.
class RecipeBuilder {
 public:
  explicit RecipeBuilder(std::string label);

  /// Appends a procedure and returns its number. With an empty key its result has no name.
  std::uint32_t add(ClassTag tag, std::vector<Recipe::Input> inputs,
                    const std::string& outputKey = {});
  /// Appends a parallel wrapper around a procedure.
  std::uint32_t addParallel(ClassTag inner, std::vector<Recipe::Input> inputs,
                            const std::string& outputKey = {});

  [[nodiscard]] const std::string& label() const noexcept { return entry_.label; }
  /// The recipe as readers have it in memory.
  [[nodiscard]] const ZipRecipe& entry() const noexcept { return entry_; }
  /// The stored form without its length: version, "DC", classes, wiring, keys.
  [[nodiscard]] Bytes block() const;

 private:
  std::uint32_t addWiring(std::vector<Recipe::Input> inputs, const std::string& outputKey);

  ZipRecipe entry_;
};

/// The record "recipes".
[[nodiscard]] Bytes recipeListBytes(std::span<const RecipeBuilder> recipes);
[[nodiscard]] Bytes recipeListBytes(std::span<const ZipRecipe> recipes);

/// How readers rebuild a dataset's integers from its payload, and what they compute from them.
struct ValueRecipe {
  /// Decides which parameters readers build.
  std::string label = "DefaultDecompression";
  /// Keys of edge list and tree starts, if values are differences along the edges of a forest;
  /// empty if they are differences to the value before.
  std::string edgeListKey = {};
  std::string treeStartsKey = {};
  /// Keys of no, one or two steps; stored are differences to the one or to the mean of the two.
  std::vector<std::string> timeReferences = {};
  /// The result is dequantised, with outliers from the chain's inputs 1 and 2.
  bool dequantise = false;
  /// The integers are the result of another dataset, "_vquant" beside this one.
  bool split = false;
  /// Key of the table of exponents; empty for a uniform step.
  std::string exponentsKey = {};
};
[[nodiscard]] RecipeBuilder valueRecipe(const ValueRecipe& what);

/// Ids stored as back references and new ids.
[[nodiscard]] RecipeBuilder idWindowRecipe();

/// Label of datasets that refer to stored parameters, and such parameters: the number of values,
/// the data type's code (6 Int32, 9 UInt64, ...) and the size of plane chunks in bytes.
inline constexpr const char* kStoredParametersLabel = "DefaultCompressionWithNonDefaultTargetSize";
[[nodiscard]] Bytes storedParameters(std::uint64_t valueCount, std::int32_t dataType,
                                     std::uint64_t planeChunkBytes = 65536);

}  // namespace morvex::Writer

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
  chunkedZlib = 1001,
  parallelWrapper = 1002,
  simpleSums = 1003,
  idWindowChain = 1004,
  dequantization = 1005,
  decoderZlib = 1006,
  vectorSums = 1007,
  treeSums = 1008,
  chunkedZlibTree = 1009,
  offsetSums = 1010,
};

/// Where a procedure takes an input from.
[[nodiscard]] Recipe::Input chainInput(std::uint32_t index);
[[nodiscard]] Recipe::Input outputOf(std::uint32_t procedure, std::uint32_t output = 0);
/// The result "Uncompressed" of another dataset, by a key relative to the one that is read.
[[nodiscard]] Recipe::Input external(std::string datasetKey, bool optional = false);

/// A chain of procedures, written down in the order in which they are made.
class RecipeBuilder {
 public:
  explicit RecipeBuilder(std::string label);

  /// Appends a procedure and returns its number. An empty key leaves its result without a name.
  std::uint32_t add(ClassTag tag, std::vector<Recipe::Input> inputs,
                    const std::string& outputKey = {});
  /// Appends a parallel wrapper around a procedure.
  std::uint32_t addParallel(ClassTag inner, std::vector<Recipe::Input> inputs,
                            const std::string& outputKey = {});

  [[nodiscard]] const std::string& label() const noexcept { return entry_.label; }
  /// What readers make of it.
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

/// How the integers of a dataset are rebuilt from its payload, and what is made of them.
struct ValueRecipe {
  /// Tells readers which parameters to build.
  std::string label = "DefaultDecompression";
  /// Keys of edge list and tree starts, where values are differences along the edges of a forest;
  /// empty where they are differences to the value before.
  std::string edgeListKey = {};
  std::string treeStartsKey = {};
  /// Keys of none, one or two steps; differences to the one or to the mean of the two are stored.
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

/// Label of datasets that bring their parameters along, and such parameters: their own number of
/// values, the data type's code (6 Int32, 9 UInt64, ...) and the size of plane chunks.
inline constexpr const char* kStoredParametersLabel = "DefaultCompressionWithNonDefaultTargetSize";
[[nodiscard]] Bytes storedParameters(std::uint64_t valueCount, std::int32_t dataType,
                                     std::uint64_t planeChunkBytes = 65536);

}  // namespace morvex::Writer

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "writer/differences.hpp"
#include "writer/result_file.hpp"
#include "writer/streams.hpp"

namespace morvex::Writer {

/// Largest absolute finite value of a variable over all its steps; 0 if it has none.
[[nodiscard]] double largestMagnitude(const VariableBuilder& variable);

/// Encodes the datasets of a file and collects the recipes and parameters that they refer to. Both
/// begin with those that the file's builder has, whose numbers must not change.
class DatasetEncoder {
 public:
  DatasetEncoder(const ResultFileBuilder& file, ResultImage& image)
      : file_(file), image_(image), recipes_(file.recipes_), parameters_(file.parameters_) {}

  void encodeGeometries();
  void encodeVariables();

  [[nodiscard]] const std::vector<RecipeBuilder>& recipes() const noexcept { return recipes_; }
  [[nodiscard]] const std::vector<Bytes>& parameters() const noexcept { return parameters_; }

 private:
  using Geometry = ResultFileBuilder::Geometry;
  using Series = std::map<int, const std::vector<float>*>;  ///< By step.

  void encodeCoordinates(const std::string& group, const PartBuilder& part, const Quantisation& how,
                         const PartState& state);
  void encodeConnectivity(const std::string& path, const Connectivity& connectivity);
  void encodeElements(const std::string& group, const PartState& state);

  /// All steps of one component on one part: differences between steps need the whole series.
  void encodeSeries(const VariableBuilder& variable, const ValueKey& key, const Series& series);
  /// `recipe` describes how the words are chained; adds the keys of its forest.
  [[nodiscard]] Bytes spatialPayload(ValueRecipe& recipe, const VariableBuilder& variable,
                                     const ValueKey& key, const Words& words);
  /// Writes a forest once, for all variables and steps of a part. std::logic_error for another size
  /// under the same path.
  void putForest(const std::string& prefix, std::uint64_t places, const Forest& forest);
  /// Lists of positions and values beside a dataset, without a header; none where none are needed.
  void putOutliers(const std::string& path, const Quantised& quantised);
  void putExponents(const std::string& path, const ExponentTable& table);

  /// A dataset with its header.
  void put(const std::string& path, const RecipeBuilder& recipe, const Bytes& payload,
           std::int32_t parameters = 0);
  /// A dataset of plain values with its own parameters.
  template <class T>
  void putWithParameters(const std::string& path, const std::vector<T>& values,
                         std::int32_t dataType);
  template <class T>
  [[nodiscard]] Bytes rowPayload(const std::vector<T>& values) const;

  const ResultFileBuilder& file_;
  ResultImage& image_;
  std::vector<RecipeBuilder> recipes_;
  std::map<std::pair<std::string, Bytes>, std::int32_t> recipeNumbers_;
  std::vector<Bytes> parameters_;
  std::map<Bytes, std::int32_t> parameterNumbers_;
  /// Number of positions of each forest that has been written, by path.
  std::map<std::string, std::uint64_t> forests_;
};

}  // namespace morvex::Writer

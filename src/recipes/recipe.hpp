#pragma once

#include <boost/blank.hpp>
#include <boost/variant.hpp>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Kelbor {
class BranchedChain;
class DataProvider;
}  // namespace Kelbor

namespace morvex {

struct ChainSettings;
class Deserializer;

/// The output of a procedure in another dataset's chain, taken from the cache of finished datasets.
struct ExternalReference {
  std::uint32_t outputIndex = 0;
  std::string datasetKey;
  std::string outputKey;
  bool optional = false;

  friend auto operator<=>(const ExternalReference&, const ExternalReference&) = default;
};

/// How the values of a dataset are rebuilt: a stored chain of procedures and their wiring.
class Recipe {
 public:
  /// The provider at this position of the chain's inputs.
  struct ChainInput {
    std::uint32_t index;
  };
  /// An output of an earlier procedure of the same chain.
  struct ProcedureOutput {
    std::uint32_t procedure;
    std::uint32_t output;
  };
  /// Where an input slot gets its values. Blank for an unknown kind, which is refused when a chain
  /// is built.
  using Input = boost::variant<boost::blank, ChainInput, ProcedureOutput, ExternalReference>;

  /// Version triple; then, for each procedure, its class tag and its factory's data.
  std::vector<std::byte> classStream;
  /// The wiring, concatenated over all procedures.
  std::vector<Input> inputs;
  /// Number of entries of `inputs` per procedure.
  std::vector<std::uint32_t> inputCounts;
  /// Name of each procedure's result; empty for none.
  std::vector<std::string> outputKeys;

  /// Makes the procedures and connects them to `providers`, to each other and to finished results
  /// of other datasets. The chain takes ownership before anything can throw, and keeps the finished
  /// results that it reads alive. A null entry of `providers` leaves its slot empty. `parameters`
  /// is at the first value of a parameter block, after its version.
  ///
  /// InternalError for a class that is not accepted and for wiring that leads nowhere;
  /// std::runtime_error "External dependency must be in cache: " + path; and whatever the
  /// procedures raise. The recipe must not move while `settings.factories` is in use.
  [[nodiscard]] std::unique_ptr<Kelbor::BranchedChain> buildChain(
      std::vector<std::unique_ptr<Kelbor::DataProvider>> providers, Deserializer parameters,
      const ChainSettings& settings) const;
};

/// An entry of a file's recipe list. The label determines the chain's parameters.
struct ZipRecipe {
  Recipe recipe;
  std::string label;
};

/// Decodes the record "recipes". UsageException for a newer record, InternalError "Invalid chain
/// block detected" or for one that ends too early.
[[nodiscard]] std::vector<ZipRecipe> readRecipes(std::span<const std::byte> record);

}  // namespace morvex

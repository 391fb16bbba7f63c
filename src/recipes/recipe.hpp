#pragma once

#include <boost/blank.hpp>
#include <boost/variant.hpp>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace morvex {

/// The output of a procedure in the chain of another dataset, found in the cache of finished
/// datasets when a chain is built.
struct ExternalReference {
  std::uint32_t outputIndex = 0;
  std::string datasetKey;
  std::string outputKey;
  bool optional = false;

  friend bool operator==(const ExternalReference&, const ExternalReference&) = default;
};

/// How the values of a dataset are rebuilt: a stored chain of procedures and their wiring. Plain
/// data; the chain is made of it by buildChain.
class Recipe {
 public:
  /// The provider handed to the chain from outside at this position.
  struct ChainInput {
    std::uint32_t index;
  };
  /// An output of an earlier procedure of the same chain.
  struct ProcedureOutput {
    std::uint32_t procedure;
    std::uint32_t output;
  };
  /// Where an input slot gets its values from. Blank for a kind that this reader doesn't know,
  /// which is refused when a chain is built.
  using Input = boost::variant<boost::blank, ChainInput, ProcedureOutput, ExternalReference>;

  /// Version triple, then for each procedure its class tag and what its factory keeps.
  std::vector<std::byte> classStream;
  /// The wiring, flattened over all procedures.
  std::vector<Input> inputs;
  /// For each procedure, how many entries of `inputs` it takes.
  std::vector<std::uint32_t> inputCounts;
  /// For each procedure, the name of its result; empty where it has none.
  std::vector<std::string> outputKeys;
};

/// An entry of a file's recipe list. The label tells which parameters the chain is given.
struct ZipRecipe {
  Recipe recipe;
  std::string label;
};

/// Decodes the record "recipes". UsageException for a newer record, InternalError "Invalid chain
/// block detected" or for one that ends too early.
[[nodiscard]] std::vector<ZipRecipe> readRecipes(std::span<const std::byte> record);

}  // namespace morvex

#include "recipes/chain_builder.hpp"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <vector>

#include "core/scoped_access.hpp"
#include "metadata/exception.hpp"
#include "metadata/serializer.hpp"
#include "recipes/procedure_factory.hpp"

namespace morvex {
namespace {

using Kelbor::DataDimension;
using Kelbor::DataProvider;
namespace DataTypes = Kelbor::DataTypes;

/// Adds up one number of each connected input, each multiplied by 10 to the power of its slot; has
/// an output only once slot 0 is connected.
class Adder : public Kelbor::DataProcedure {
 public:
  explicit Adder(Kelbor::DataManager* context) : DataProcedure(context, 3, 1) {}

  void connectInput(std::size_t slot, Kelbor::Provider* provider) override {
    DataProcedure::connectInput(slot, provider);
    if (slot == 0) makeOutput(0, DataDimension(DataTypes::kInt32, {1}));
  }
  bool process(std::int32_t index) override {
    const Kelbor::ScopedData<std::int32_t> sum(&requireOutput(index));
    sum.data()[0] = 0;
    for (std::size_t slot = 0, factor = 1; slot < 3; ++slot, factor *= 10) {
      if (!hasInputProvider(slot)) continue;
      const Kelbor::ScopedConstData<std::int32_t> input(inputData(slot));
      sum.data()[0] += input.data()[0] * static_cast<std::int32_t>(factor);
    }
    return true;
  }
};

class AdderFactory : public ProcedureFactory {
 public:
  using ProcedureFactory::ProcedureFactory;
  std::unique_ptr<Kelbor::DataProcedure> create(std::span<const std::uint64_t> /*sizes*/,
                                                Deserializer& /*parameters*/) const override {
    return std::make_unique<Adder>(context());
  }
};

constexpr std::int32_t kAdder = 5;

int factoriesRead = 0;

const ClassCreators kCreators{{kAdder, [](Deserializer& stream) {
                                 ++factoriesRead;
                                 return std::unique_ptr<ProcedureFactory>(
                                     std::make_unique<AdderFactory>(stream.context()));
                               }}};

class ChainBuilder : public testing::Test {
 protected:
  std::unique_ptr<DataProvider> number(std::int32_t value) {
    auto provider =
        std::make_unique<DataProvider>(&manager_, DataDimension(DataTypes::kInt32, {1}));
    provider->copyMemory(&value, sizeof value);
    return provider;
  }

  /// Procedures of the test's class with the wiring of each, by key.
  Recipe recipe(const std::vector<std::vector<Recipe::Input>>& wiring,
                std::vector<std::string> keys, std::int32_t tag = kAdder) {
    Recipe result;
    Serializer stream(nullptr, result.classStream);
    for (const auto& inputs : wiring) {
      stream.writeI32(tag);
      result.inputs.insert(result.inputs.end(), inputs.begin(), inputs.end());
      result.inputCounts.push_back(static_cast<std::uint32_t>(inputs.size()));
    }
    result.outputKeys = std::move(keys);
    return result;
  }

  /// A chain over one number for each of `values`; a negative one stands for a missing input.
  std::unique_ptr<Kelbor::BranchedChain> build(const Recipe& recipe,
                                               const std::vector<int>& values) {
    FactoryCache factories;  // the tests' recipes don't stay where they are
    return build(recipe, values, factories);
  }
  std::unique_ptr<Kelbor::BranchedChain> build(const Recipe& recipe, const std::vector<int>& values,
                                               FactoryCache& factories) {
    std::vector<std::unique_ptr<DataProvider>> inputs;
    for (const int value : values) inputs.push_back(value < 0 ? nullptr : number(value));
    return recipe.buildChain(
        std::move(inputs), Deserializer(&manager_, noParameters_),
        {.context = &manager_,
         .classCreators = kCreators,
         .factories = factories,
         .sizes = {},
         .cache = cache_,
         .keyMapper = [](const std::string& key) { return "/mapped/" + key; }});
  }

  static std::int32_t valueOf(const Kelbor::BranchedChain& chain, const char* key) {
    const Kelbor::ScopedConstData<std::int32_t> result(
        dynamic_cast<DataProvider*>(chain.getOutputProcedure(key).getOutputProvider(0)));
    return result.data()[0];
  }

  Kelbor::DataManager manager_;
  DatasetCache cache_;
  std::vector<std::byte> noParameters_;
};

using ChainInput = Recipe::ChainInput;
using ProcedureOutput = Recipe::ProcedureOutput;

TEST_F(ChainBuilder, WiresInputsAndEarlierProcedures) {
  const Recipe two = recipe({{ChainInput{0}, ChainInput{1}},
                             {ProcedureOutput{0, 0}, ChainInput{0}, ProcedureOutput{0, 0}}},
                            {"", "Sum"});
  EXPECT_EQ(valueOf(*build(two, {1, 2}), "Sum"), 21 + 10 * 1 + 100 * 21);
  EXPECT_THROW((void)build(two, {1, 2})->getOutputProcedure(""), Kelbor::KelborDataException);
}

TEST_F(ChainBuilder, MissingInputTakesNoSlotAndSinkTakesOne) {
  // The null input moves the next one up; the procedure without any input has no output, is kept as
  // a sink, and leaves the slot of its consumer free.
  const Recipe sinks = recipe(
      {{ChainInput{0}}, {ChainInput{0}, ChainInput{1}, ProcedureOutput{0, 0}, ChainInput{2}}},
      {"Sink", "Sum"});
  const auto chain = build(sinks, {-1, 3, 4});
  EXPECT_EQ(valueOf(*chain, "Sum"), 3 + 100 * 4);
  EXPECT_THROW((void)chain->getOutputProcedure("Sink"), Kelbor::KelborDataException);
}

TEST_F(ChainBuilder, ReferencesComeFromTheCacheAndStayAliveInTheChain) {
  cache_.insert({0, "Out", "/mapped/a"}, Kelbor::stealContainer(&manager_, *number(7)));
  const ExternalReference here{0, "a", "Out", false};
  const ExternalReference optional{0, "missing", "Out", true};
  const ExternalReference required{0, "missing", "Out", false};

  const auto chain = build(recipe({{here, optional, ChainInput{0}}}, {"Sum"}), {2});
  cache_.removeIf(std::array{ShelfRange{}}, [](const std::string&) { return true; });
  EXPECT_EQ(valueOf(*chain, "Sum"), 7 + 10 * 2);

  try {
    (void)build(recipe({{required}}, {"Sum"}), {});
    FAIL() << "a required reference was missing";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "External dependency must be in cache: /mapped/missing");
  }
}

TEST_F(ChainBuilder, RecipeIsReadOnceAndADamagedOneFailsEachTime) {
  Recipe twoAdders = recipe({{ChainInput{0}}, {ProcedureOutput{0, 0}}}, {"", "Sum"});
  FactoryCache factories;
  factoriesRead = 0;
  EXPECT_EQ(valueOf(*build(twoAdders, {1}, factories), "Sum"), 1);
  EXPECT_EQ(valueOf(*build(twoAdders, {2}, factories), "Sum"), 2);
  EXPECT_EQ(factoriesRead, 2);

  Recipe damaged = twoAdders;
  damaged.classStream.pop_back();  // the second class tag ends early
  EXPECT_THROW((void)build(damaged, {1}, factories), InternalError);
  EXPECT_THROW((void)build(damaged, {1}, factories), InternalError);
  EXPECT_EQ(factoriesRead, 4) << "the first class is read and given up each time";
}

TEST_F(ChainBuilder, RefusesClassesAndWiringThatLeadNowhere) {
  Recipe tooFewInputs = recipe({{ChainInput{0}}}, {"Sum"});
  tooFewInputs.inputCounts[0] = 2;
  Recipe tooManyProcedures;
  tooManyProcedures.inputCounts.resize(5000);
  tooManyProcedures.outputKeys.resize(5000);
  const std::vector<Recipe> broken{
      tooFewInputs,
      tooManyProcedures,
      recipe({{ChainInput{0}}}, {"Sum"}, /*tag=*/99),
      recipe({{ChainInput{1}}}, {"Sum"}),
      recipe({{ProcedureOutput{0, 0}}}, {"Sum"}),
      recipe({{boost::blank{}}}, {"Sum"}),
      recipe({{ChainInput{0}}}, {}),
  };
  for (std::size_t i = 0; i < broken.size(); ++i) {
    EXPECT_THROW((void)build(broken[i], {1}), InternalError) << "recipe " << i;
  }
  // More inputs than the procedure has slots, and an output that it doesn't have.
  for (const Recipe& beyond :
       {recipe({{ChainInput{0}, ChainInput{0}, ChainInput{0}, ChainInput{0}}}, {"Sum"}),
        recipe({{ChainInput{0}}, {ProcedureOutput{0, 9}}}, {"", "Sum"})}) {
    EXPECT_THROW((void)build(beyond, {1}), std::invalid_argument);
  }
}

}  // namespace
}  // namespace morvex

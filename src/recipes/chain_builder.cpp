#include "recipes/chain_builder.hpp"

#include <set>
#include <stdexcept>
#include <utility>

#include "core/error.hpp"
#include "metadata/exception.hpp"

namespace morvex {

using Kelbor::BranchedChain;
using Kelbor::DataProcedure;
using Kelbor::DataProvider;
using Kelbor::raise;

namespace {

/// More procedures than any recipe holds; a larger number comes from damage.
constexpr std::size_t kMostProcedures = 4096;

class Builder {
 public:
  Builder(const Recipe& recipe, std::vector<std::unique_ptr<DataProvider>> inputs,
          const ChainSettings& settings)
      : recipe_(recipe), settings_(settings), chain_(std::make_unique<BranchedChain>()) {
    inputs_.reserve(inputs.size());
    for (auto& input : inputs) {
      inputs_.push_back(input.get());
      if (input) chain_->addSource(std::move(input));
    }
  }

  std::unique_ptr<BranchedChain> build(Deserializer& parameters) {
    const std::size_t count = recipe_.inputCounts.size();
    if (count > kMostProcedures || recipe_.outputKeys.size() < count) {
      raise<InternalError>("Invalid number of procedures in recipe");
    }
    FactoryList& factories =
        settings_.factories.factoriesOf(recipe_, settings_.context, settings_.classCreators);
    procedures_.reserve(count);
    for (std::size_t p = 0; p < count; ++p) {
      auto procedure = factories.at(p).create(settings_.sizes, parameters);
      connectInputs(*procedure, recipe_.inputCounts[p]);
      procedures_.push_back(&keep(std::move(procedure), recipe_.outputKeys[p]));
    }
    return std::move(chain_);
  }

 private:
  void connectInputs(DataProcedure& procedure, std::uint32_t count) {
    if (count > recipe_.inputs.size() - nextInput_) {
      raise<InternalError>("Recipe has no wiring for an input");
    }
    std::size_t slot = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      if (bind(procedure, slot, recipe_.inputs[nextInput_++])) ++slot;
    }
  }

  /// True if the input occupies its slot.
  bool bind(DataProcedure& procedure, std::size_t slot, const Recipe::Input& input) {
    if (const auto* chainInput = boost::get<Recipe::ChainInput>(&input)) {
      if (chainInput->index >= inputs_.size()) raise<InternalError>("Recipe input out of range");
      DataProvider* provider = inputs_[chainInput->index];
      if (provider) procedure.connectInput(slot, provider);
      return provider != nullptr;
    }
    if (const auto* source = boost::get<Recipe::ProcedureOutput>(&input)) {
      if (source->procedure >= procedures_.size()) {
        raise<InternalError>("Recipe procedure out of range");
      }
      DataProcedure* producer = procedures_[source->procedure];
      // A procedure without outputs occupies the slot without connecting anything.
      if (!sinks_.contains(producer)) {
        procedure.connectInput(slot, producer->getOutputProvider(source->output));
      }
      return true;
    }
    if (const auto* reference = boost::get<ExternalReference>(&input)) {
      return bindReference(procedure, slot, *reference);
    }
    raise<InternalError>("Unknown kind of recipe input");
  }

  bool bindReference(DataProcedure& procedure, std::size_t slot,
                     const ExternalReference& reference) {
    const std::string path =
        settings_.keyMapper ? settings_.keyMapper(reference.datasetKey) : reference.datasetKey;
    auto provider = settings_.cache.find(
        {static_cast<std::int32_t>(reference.outputIndex), reference.outputKey, path});
    if (provider) {
      chain_->keepAlive(provider);
      procedure.connectInput(slot, provider.get());
      return true;
    }
    if (reference.optional) {
      Kelbor::getLogger().debug() << "Skipping optional external dependency with key '" << path;
      return false;
    }
    Kelbor::getLogger().error() << "External dependency with key '" << path << "' not in cache!";
    raise<std::runtime_error>("External dependency must be in cache: " + path);
  }

  DataProcedure& keep(std::unique_ptr<DataProcedure> procedure, const std::string& key) {
    bool hasOutput = false;
    for (std::size_t i = 0; i < procedure->getNumberOfOutputs(); ++i) {
      hasOutput = hasOutput || procedure->hasOutputProvider(i);
    }
    if (!hasOutput) {
      DataProcedure& sink = chain_->addSink(std::move(procedure));
      sinks_.insert(&sink);
      return sink;
    }
    return key.empty() ? chain_->addProcedure(std::move(procedure))
                       : chain_->addProcedure(key, std::move(procedure));
  }

  const Recipe& recipe_;
  const ChainSettings& settings_;
  std::unique_ptr<BranchedChain> chain_;
  std::vector<DataProvider*> inputs_;
  std::vector<DataProcedure*> procedures_;
  std::set<const DataProcedure*> sinks_;
  std::size_t nextInput_ = 0;
};

}  // namespace

std::unique_ptr<BranchedChain> Recipe::buildChain(
    std::vector<std::unique_ptr<DataProvider>> providers, Deserializer parameters,
    const ChainSettings& settings) const {
  return Builder(*this, std::move(providers), settings).build(parameters);
}

}  // namespace morvex

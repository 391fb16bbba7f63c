#include "core/chain.hpp"

#include <algorithm>
#include <utility>

#include "core/error.hpp"

namespace Kelbor {

BranchedChain::~BranchedChain() {
  sinks_.clear();
  while (!procedures_.empty()) {
    std::unique_ptr<DataProcedure> last = std::move(procedures_.back());
    procedures_.pop_back();
    if (last->hasReferencedOutput()) {
      (void)last.release();  // leaked: its output is still being read
    }
  }
  for (std::unique_ptr<Provider>& source : sources_) {
    if (source->getReferences() != 0) (void)source.release();
  }
}

void BranchedChain::addSource(std::unique_ptr<Provider> provider) {
  sources_.push_back(std::move(provider));
}

DataProcedure& BranchedChain::addProcedure(std::unique_ptr<DataProcedure> procedure) {
  procedures_.push_back(std::move(procedure));
  return *procedures_.back();
}

DataProcedure& BranchedChain::addProcedure(const std::string& key,
                                           std::unique_ptr<DataProcedure> procedure) {
  DataProcedure& added = addProcedure(std::move(procedure));
  const auto named = std::ranges::find(namedOutputs_, key, &NamedOutput::first);
  if (named == namedOutputs_.end()) {
    namedOutputs_.emplace_back(key, &added);
  } else {
    named->second = &added;
  }
  return added;
}

DataProcedure& BranchedChain::addSink(std::unique_ptr<DataProcedure> procedure) {
  sinks_.push_back(std::move(procedure));
  return *sinks_.back();
}

void BranchedChain::keepAlive(std::shared_ptr<Provider> provider) {
  keptAlive_.push_back(std::move(provider));
}

DataProcedure& BranchedChain::getOutputProcedure(std::string_view key) const {
  const auto found = std::ranges::find(namedOutputs_, key, &NamedOutput::first);
  if (found == namedOutputs_.end()) {
    raise<KelborDataException>("BranchedChain: no output procedure for key " + std::string(key));
  }
  return *found->second;
}

}  // namespace Kelbor

#include "simulation/read_context.hpp"

#include <new>
#include <utility>

#include "core/checked.hpp"

namespace morvex {

const ZipRecipe& ReadContext::recipeOf(const DatasetHeader& header) const {
  return Kelbor::checkedAt(metadata.recipes, header.recipeIndex);
}

std::unique_ptr<Kelbor::DataProvider> ReadContext::payloadOf(const std::string& group,
                                                             const std::string& name) const {
  return file.getDataProvider(group, name, 0, sizeof(DatasetHeader));
}

ChainSettings ReadContext::chainSettings(const ClassCreators& classCreators,
                                         const std::uint64_t& size, KeyMapper keyMapper) {
  return {.context = manager(),
          .classCreators = classCreators,
          .factories = factories,
          .sizes = {&size, 1},
          .cache = externalDependencyCache,
          .keyMapper = std::move(keyMapper)};
}

FailureNote::~FailureNote() {
  if (std::uncaught_exceptions() == exceptionsBefore_) return;
  ReadFailure& failure = context_.failure;
  try {
    failure.requested = group_ + "/" + name_;
    if (failure.dataset.empty()) failure.dataset = failure.requested;
  } catch (const std::bad_alloc&) {  // the failure goes without its place
  }
}

}  // namespace morvex

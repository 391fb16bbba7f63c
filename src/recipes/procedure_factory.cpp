#include "recipes/procedure_factory.hpp"

#include "core/error.hpp"
#include "metadata/exception.hpp"
#include "recipes/recipe.hpp"

namespace morvex {

std::unique_ptr<ProcedureFactory> readFactory(Deserializer& classStream) {
  const std::int32_t tag = classStream.readI32();
  const ClassCreator create = classStream.classCreators->find(tag);
  if (!create) Kelbor::raise<InternalError>(kInvalidClassType);
  return create(classStream);
}

FactoryList::FactoryList(Kelbor::DataManager* context, const std::vector<std::byte>& classStream,
                         const ClassCreators& classCreators)
    : start_(context, classStream), next_(start_) {
  start_.classCreators = &classCreators;
  next_ = start_;
}

const ProcedureFactory& FactoryList::at(std::size_t index) {
  try {
    while (factories_.size() <= index) factories_.push_back(readFactory(next_));
  } catch (...) {
    factories_.clear();
    next_ = start_;
    throw;
  }
  return *factories_[index];
}

FactoryList& FactoryCache::factoriesOf(const Recipe& recipe, Kelbor::DataManager* context,
                                       const ClassCreators& classCreators) {
  const auto key = std::pair(&recipe, &classCreators);
  return lists_.try_emplace(key, context, recipe.classStream, classCreators).first->second;
}

}  // namespace morvex

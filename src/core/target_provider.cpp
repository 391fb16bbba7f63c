#include "core/target_provider.hpp"

#include <stdexcept>
#include <utility>

#include "core/error.hpp"
#include "core/procedure.hpp"

namespace Kelbor {
namespace {

/// Makes a wrapped block writable during its lifetime, also if the producer throws.
class WritableWhileProducing {
 public:
  explicit WritableWhileProducing(DataProvider& owner) : owner_(owner) {
    owner_.getContainer()->isConstant = false;
  }
  ~WritableWhileProducing() {
    if (DataContainer* container = owner_.getContainer()) container->isConstant = true;
  }
  WritableWhileProducing(const WritableWhileProducing&) = delete;
  WritableWhileProducing& operator=(const WritableWhileProducing&) = delete;

 private:
  DataProvider& owner_;
};

}  // namespace

TargetDataProvider::TargetDataProvider(DataManager* context, DataDimension dimension, void* memory,
                                       std::uint64_t sizeInBytes)
    : DataProvider(context, std::move(dimension)), targetMemory_(memory), targetSize_(sizeInBytes) {
  if (!memory) raise<std::runtime_error>("targetMemaddress == NULL");
}

bool TargetDataProvider::prepare() {
  if (!hasProducer()) return false;
  if (getDataDimension().getByteSize() > targetSize_) {
    raise<std::runtime_error>("dimension.getByteSize() > targetMemspace");
  }
  wrapMemory(targetMemory_, targetSize_);
  const WritableWhileProducing writable(*this);
  return runProcedure(*getProducer(), getProducerSlot());
}

}  // namespace Kelbor

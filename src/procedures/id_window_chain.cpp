#include "procedures/id_window_chain.hpp"

#include <stdexcept>

#include "core/checked.hpp"
#include "core/error.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::uint32_t kWindowSizeInBytes = 536870912;

DataType requireIdType(DataType type) {
  const bool isIdType =
      visitElement<std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>(type, [](auto) {});
  if (!isIdType) raise<std::runtime_error>("Invalid target type!");
  return type;
}

class IdWindowZlibDecompressionChainFactory final : public morvex::ProcedureFactory {
 public:
  using ProcedureFactory::ProcedureFactory;

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> sizes,
                                        morvex::Deserializer& parameters) const override {
    const std::uint32_t idWindowMethod = parameters.readU32();
    const DataType targetDataType{parameters.readI32()};
    return std::make_unique<IdWindowZlibDecompressionChain>(context(), idWindowMethod, sizes,
                                                            targetDataType);
  }
};

}  // namespace

IdWindowZlibDecompressionChain::IdWindowZlibDecompressionChain(
    DataManager* context, std::uint32_t idWindowMethod,
    std::span<const std::uint64_t> targetDimensions, DataType targetDataType)
    : DataProcedure(context, 2, 1),
      idWindowMethod_(idWindowMethod),
      targetDimensions_(targetDimensions.begin(), targetDimensions.end()),
      targetDataType_(requireIdType(targetDataType)),
      decoder_(context, DataDimension(targetDataType, targetDimensions).getByteSize(),
               DataTypes::kUInt8),
      bytePlanes_(context, targetDataType),
      newIds_(context, targetDimensions, targetDataType, kWindowSizeInBytes),
      reconstruction_(context, idWindowMethod) {}

IdWindowZlibDecompressionChain::~IdWindowZlibDecompressionChain() {
  borrowInput(0, nullptr);
  borrowInput(1, nullptr);
  borrowOutput(0, nullptr);
}

void IdWindowZlibDecompressionChain::connectInput(std::size_t slot, Provider* provider) {
  borrowInput(slot, provider);
  if (slot == 0) {
    decoder_.connectInput(0, provider);
    bytePlanes_.connectInput(0, decoder_.getOutputProvider(0));
    reconstruction_.connectInput(0, bytePlanes_.getOutputProvider(0));
    borrowOutput(0, reconstruction_.getOutputProvider(0));
  } else {
    newIds_.connectInput(0, provider);
    reconstruction_.connectInput(1, newIds_.getOutputProvider(0));
  }
}

void IdWindowZlibDecompressionChain::disconnectInput(std::size_t slot) {
  if (slot == 0) {
    reconstruction_.disconnectInput(0);
    bytePlanes_.disconnectInput(0);
    decoder_.disconnectInput(0);
  } else {
    reconstruction_.disconnectInput(1);
    newIds_.disconnectInput(0);
  }
  borrowInput(slot, nullptr);
}

bool IdWindowZlibDecompressionChain::deleteUnreferencedOutputs() {
  const bool allDeleted = reconstruction_.deleteUnreferencedOutputs();
  borrowOutput(0, nullptr);
  return allDeleted;
}

bool IdWindowZlibDecompressionChain::process(std::int32_t outputIndex) {
  return reconstruction_.process(outputIndex);
}

bool IdWindowZlibDecompressionChain::setOutputBuffer(std::size_t outputIndex, void* memory,
                                                     std::uint64_t sizeInBytes) {
  const bool done = reconstruction_.setOutputBuffer(outputIndex, memory, sizeInBytes);
  borrowOutput(0, reconstruction_.getOutputProvider(0));
  return done;
}

std::unique_ptr<DataProcedure> IdWindowZlibDecompressionChain::clone() const {
  return std::make_unique<IdWindowZlibDecompressionChain>(getContext(), idWindowMethod_,
                                                          targetDimensions_, targetDataType_);
}

bool IdWindowZlibDecompressionChain::setParameter(std::string_view key, std::uint64_t value) {
  if (key != kTotalNumberUncompressedElements) return false;
  targetDimensions_.assign(1, value);
  return decoder_.setParameter(key, checkedProduct(value, targetDataType_.getSize()));
}

std::unique_ptr<morvex::ProcedureFactory> createIdWindowChainFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<IdWindowZlibDecompressionChainFactory>(classStream.context());
}

}  // namespace Kelbor::MathModule

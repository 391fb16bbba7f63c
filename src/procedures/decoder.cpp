#include "procedures/decoder.hpp"

#include <algorithm>

#include "core/checked.hpp"
#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "inflate/plain_stream.hpp"

namespace Kelbor::MathModule {
namespace {

class DecoderZlibFactory final : public morvex::ProcedureFactory {
 public:
  using ProcedureFactory::ProcedureFactory;

  std::unique_ptr<DataProcedure> create(std::span<const std::uint64_t> sizes,
                                        morvex::Deserializer& parameters) const override {
    const DataType targetDataType{parameters.readI32()};
    const std::uint64_t size = DataDimension(targetDataType, sizes).getByteSize();
    return std::make_unique<DecoderZlib>(context(), size, targetDataType);
  }
};

/// Inflates into `target` and returns the number of bytes.
std::uint64_t inflateInto(std::span<const std::byte> stream, std::span<std::byte> target) {
  if (stream.empty()) {
    getLogger().debug() << ": Processing empty dataset";
    std::ranges::fill(target, std::byte{0});
    return target.size();
  }
  const Inflate::PlainResult result = Inflate::inflatePlain(stream, target);
  if (!result.streamReady) raise<KelborDataException>(" failed to prepare stream!");
  if (!result.ok()) {
    raise<KelborDataException>(std::string(" decompression failed! Reason: ") + result.reason());
  }
  return result.decodedBytes;
}

}  // namespace

DecoderZlib::DecoderZlib(DataManager* context, std::uint64_t uncompressedSize,
                         DataType targetDataType)
    : DataProcedure(context, 1, 1),
      uncompressedSize_(uncompressedSize),
      targetDataType_(targetDataType) {}

void DecoderZlib::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  if (requireInput(slot).getDataDimension().getDataType() != DataTypes::kUInt8) {
    raise<Exception>(": inputDataProvider->getDataDimension().getDataType() != DataType::Uint8");
  }
  makeOutput(0, DataDimension(targetDataType_, {uncompressedSize_ / targetDataType_.getSize()}));
}

bool DecoderZlib::process(std::int32_t outputIndex) {
  DataProvider& input = requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  std::uint64_t decodedSize = uncompressedSize_;
  const bool handled =
      visitElement<std::uint8_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t, float,
                   double>(targetDataType_, [&](auto element) {
        const ScopedConstData<std::uint8_t> stream(&input);
        const ScopedData<typename decltype(element)::type> values(&output);
        // The expected bytes may not be a whole number of values; a partial one is dropped.
        const auto target = std::as_writable_bytes(values.view());
        const std::uint64_t produced = inflateInto(std::as_bytes(stream.view()), target);
        if (produced != target.size()) decodedSize = produced;
      });
  if (!handled) raiseUnhandledType(targetDataType_);
  if (decodedSize != uncompressedSize_) {
    setOutputDimension(output,
                       DataDimension(targetDataType_, {decodedSize / targetDataType_.getSize()}),
                       ": decodedSize != this->uncompressedSize and cannot adapt DataDimension!");
  }
  return true;
}

std::unique_ptr<DataProcedure> DecoderZlib::clone() const {
  return std::make_unique<DecoderZlib>(getContext(), uncompressedSize_, DataTypes::kUInt8);
}

bool DecoderZlib::setParameter(std::string_view key, std::uint64_t value) {
  if (key != kTotalNumberUncompressedElements) return false;
  uncompressedSize_ = value;
  return true;
}

std::unique_ptr<morvex::ProcedureFactory> createDecoderZlibFactory(
    morvex::Deserializer& classStream) {
  return std::make_unique<DecoderZlibFactory>(classStream.context());
}

}  // namespace Kelbor::MathModule

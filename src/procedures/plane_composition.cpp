#include "procedures/plane_composition.hpp"

#include <stdexcept>
#include <string>

#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "procedures/kernels/byte_planes.hpp"
#include "procedures/kernels/unsigned_view.hpp"

namespace Kelbor::MathModule {

BytePlaneComposition::BytePlaneComposition(DataManager* context, DataType targetDataType)
    : DataProcedure(context, 1, 1), targetDataType_(targetDataType) {}

void BytePlaneComposition::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  const DataDimension& planes = requireInput(slot).getDataDimension();
  const DataType type = planes.getDataType();
  if (type != DataTypes::kUInt8) {
    disconnectInput(slot);
    raise<std::invalid_argument>(std::string(": ") + type.getName() + "!=Uint8");
  }
  const std::uint64_t byteCount = planes.getByteSize();
  if (byteCount % targetDataType_.getSize() != 0) {
    disconnectInput(slot);
    raise<Exception>(": dataSize%numberOfBytesPerValue!=0");
  }
  makeOutput(slot, DataDimension(targetDataType_, {byteCount / targetDataType_.getSize()}));
}

bool BytePlaneComposition::process(std::int32_t outputIndex) {
  DataProvider& input = requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  const ScopedConstData<std::uint8_t> planes(&input);
  if (planes.size() % targetDataType_.getSize() != 0) {
    raise<Exception>(": updatedOutputByteSize % targetDataType.getSize() != 0!");
  }
  setOutputDimension(output,
                     DataDimension(targetDataType_, {planes.size() / targetDataType_.getSize()}),
                     ": cannot adapt DataDimension!");
  const bool handled =
      visitElement<std::int16_t, std::uint16_t, std::int32_t, std::uint32_t, std::int64_t,
                   std::uint64_t>(output.getDataDimension().getDataType(), [&](auto element) {
        const ScopedData<typename decltype(element)::type> values(&output);
        Kernels::composePlanes(std::as_bytes(planes.view()), Kernels::unsignedView(values.view()));
      });
  if (!handled) raiseUnhandledType(output.getDataDimension().getDataType());
  return true;
}

std::unique_ptr<DataProcedure> BytePlaneComposition::clone() const {
  return std::make_unique<BytePlaneComposition>(getContext(), targetDataType_);
}

}  // namespace Kelbor::MathModule

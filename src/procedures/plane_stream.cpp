#include "procedures/plane_stream.hpp"

#include <stdexcept>
#include <string>

#include "core/error.hpp"
#include "core/piecewise_source.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::uint32_t kTopBit = 0x80000000U;

/// Of a stream that is read piece by piece; a few times what a call of inflate takes in.
constexpr std::uint64_t kWindowBytes = 262144;

template <class T>
PlaneTarget planeTargetOf(std::span<T> values) {
  using U = std::make_unsigned_t<T>;
  return std::span<U>(reinterpret_cast<U*>(values.data()), values.size());
}

}  // namespace

PlaneStreamProcedure::PlaneStreamProcedure(DataManager* context,
                                           std::span<const std::uint64_t> targetDimensions,
                                           DataType targetDataType, std::uint32_t limitInBytes,
                                           const char* tooLarge)
    : DataProcedure(context, 1, 1),
      targetDimensions_(targetDimensions.begin(), targetDimensions.end()),
      targetDataType_(targetDataType) {
  if (limitInBytes & kTopBit) raise<Exception>(tooLarge);
  if (!targetDimensions.data()) raise<Exception>(": targetDimensions==NULL");
}

void PlaneStreamProcedure::connectInput(std::size_t slot, Provider* provider) {
  DataProcedure::connectInput(slot, provider);
  const DataType type = requireInput(slot).getDataDimension().getDataType();
  if (type != DataTypes::kUInt8) {
    disconnectInput(slot);
    raise<std::invalid_argument>(std::string(": ") + type.getName() + "!=char");
  }
  makeOutput(slot, DataDimension(targetDataType_, targetDimensions()));
}

bool PlaneStreamProcedure::process(std::int32_t outputIndex) {
  DataProvider& input = requireInput(0);
  DataProvider& output = requireOutput(outputIndex);
  const StreamOutcome outcome = decodeInto(input, output);
  if (!outcome.ok) return false;
  if (outcome.decodedBytes) {
    const std::uint64_t count = *outcome.decodedBytes / targetDataType_.getSize();
    setOutputDimension(output, DataDimension(targetDataType_, {count}));
  }
  return true;
}

StreamOutcome PlaneStreamProcedure::decodeInto(DataProvider& input, DataProvider& output) {
  StreamOutcome outcome;
  const bool handled =
      visitElement<std::int16_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>(
          targetDataType_, [&](auto element) {
            StreamAccess stream(input, lookAhead());
            const ScopedData<typename decltype(element)::type> values(&output);
            outcome = decode(stream.input(), planeTargetOf(values.view()));
          });
  if (!handled) raiseUnhandledType(targetDataType_);
  return outcome;
}

bool PlaneStreamProcedure::setParameter(std::string_view key, std::uint64_t value) {
  if (key != kTotalNumberUncompressedElements) return false;
  targetDimensions_.assign(1, value);
  return true;
}

StreamAccess::StreamAccess(DataProvider& input, std::uint64_t lookAhead) {
  const bool isWithinWindow = lookAhead > 0 && lookAhead <= kWindowBytes;
  PiecewiseSource* pieces = isWithinWindow ? piecesOf(input) : nullptr;
  if (!pieces) {
    content_.emplace(&input);
    input_.emplace(std::as_bytes(content_->view()));
    return;
  }
  window_.emplace(input.getContext(), kWindowBytes);
  const auto fetch = [pieces](std::uint64_t from, std::span<std::byte> target) {
    try {
      return pieces->readPiece(from, target);
    } catch (...) {
      return false;  // what failed has been logged where it was raised
    }
  };
  input_.emplace(input.getDataDimension().getByteSize(), fetch, window_->bytes());
}

SwapBuffer::SwapBuffer(DataManager* context, std::uint64_t sizeInBytes)
    : block_(context, DataDimension(DataTypes::kUInt8, {sizeInBytes})) {
  try {
    block_.allocateContainer();
  } catch (const MemoryAllocationException&) {
    raise<Exception>(": Failed to allocate swap buffer!");
  }
}

std::span<std::byte> SwapBuffer::bytes() noexcept {
  return {block_.getContainer()->getData(), static_cast<std::size_t>(block_.getContainer()->size)};
}

void raiseStreamNotReady() {
  raise<Exception>(": Failed to initialize stream!");
}

}  // namespace Kelbor::MathModule

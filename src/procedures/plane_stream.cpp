#include "procedures/plane_stream.hpp"

#include <stdexcept>
#include <string>
#include <utility>

#include "core/error.hpp"
#include "core/piecewise_source.hpp"
#include "procedures/kernels/byte_planes.hpp"
#include "procedures/kernels/unsigned_view.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::uint32_t kTopBit = 0x80000000U;

/// Window over a stream that is read in pieces: 256 KiB, several times what one inflate call
/// consumes.
constexpr std::uint64_t kWindowBytes = 262144;

template <class F>
bool visitPlaneType(DataType type, F&& f) {
  return visitElement<std::int16_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>(
      type, std::forward<F>(f));
}

/// Composes planes into `values`, an unsigned view of the output, since sums wrap.
template <class U>
class PlaneComposer final : public Inflate::PlaneSink {
 public:
  PlaneComposer(std::span<U> values, PlaneMode mode) : values_(values), mode_(mode) {}

  void take(std::uint64_t position, std::span<const std::byte> planes) noexcept override {
    const std::span<U> values =
        values_.subspan(static_cast<std::size_t>(position) / sizeof(U), planes.size() / sizeof(U));
    if (mode_ == PlaneMode::kPlain) {
      Kernels::composePlanesZigzag<U>(planes, values);
    } else {
      sum_ = Kernels::composePlanesZigzagSum<U>(planes, values, position == 0 ? U{0} : sum_);
    }
  }

 private:
  std::span<U> values_;
  PlaneMode mode_;
  U sum_ = 0;
};

}  // namespace

PlaneStreamProcedure::PlaneStreamProcedure(DataManager* context,
                                           std::span<const std::uint64_t> targetDimensions,
                                           DataType targetDataType, PlaneMode mode,
                                           std::uint32_t limitInBytes, const char* tooLarge)
    : DataProcedure(context, 1, 1),
      targetDimensions_(targetDimensions.begin(), targetDimensions.end()),
      targetDataType_(targetDataType),
      mode_(mode) {
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
  const bool handled = visitPlaneType(targetDataType_, [&](auto element) {
    using T = typename decltype(element)::type;
    if (const auto decoded = takeDecoded()) {
      const ScopedData<T> values(&output);
      outcome = outcomeOf(decoded->result);
      if (reinterpret_cast<const std::byte*>(values.data()) == decoded->memory) return;
    }
    StreamAccess stream(input, lookAhead());
    const ScopedData<T> values(&output);
    const auto memory = std::as_writable_bytes(values.view());
    PlaneComposer composer(Kernels::unsignedView(values.view()), mode_);
    outcome = decode(stream.input(), {memory, sizeof(T), composer});
  });
  if (!handled) raiseUnhandledType(targetDataType_);
  return outcome;
}

std::unique_ptr<Inflate::PlaneSink> makePlaneComposer(DataType type, std::span<std::byte> memory,
                                                      PlaneMode mode) {
  std::unique_ptr<Inflate::PlaneSink> composer;
  const bool handled = visitPlaneType(type, [&](auto element) {
    using U = std::make_unsigned_t<typename decltype(element)::type>;
    const std::span<U> values(reinterpret_cast<U*>(memory.data()), memory.size() / sizeof(U));
    composer = std::make_unique<PlaneComposer<U>>(values, mode);
  });
  if (!handled) raiseUnhandledType(type);
  return composer;
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
      return false;  // logged where it was raised
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

StreamOutcome outcomeOf(const Inflate::InflateResult& result) {
  if (!result.streamReady) raise<Exception>(": Failed to initialize stream!");
  return {result.ok, result.decodedBytes};
}

}  // namespace Kelbor::MathModule

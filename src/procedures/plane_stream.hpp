#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <variant>

#include "core/procedure.hpp"
#include "core/scoped_access.hpp"
#include "platform/stream_input.hpp"

namespace Kelbor::MathModule {

/// Memory for the output of a plane stream; values of a width decode alike, signed or not.
using PlaneTarget =
    std::variant<std::span<std::uint16_t>, std::span<std::uint32_t>, std::span<std::uint64_t>>;

/// What came out of a stream. Where `ok` is false the target is partly written.
struct StreamOutcome {
  bool ok = false;
  /// Bytes of values; nothing where the output keeps the shape it had.
  std::optional<std::uint64_t> decodedBytes;
};

/// Working memory of a stream, from the session's data manager, not zeroed.
class SwapBuffer {
 public:
  /// Exception ": Failed to allocate swap buffer!".
  SwapBuffer(DataManager* context, std::uint64_t sizeInBytes);
  [[nodiscard]] std::span<std::byte> bytes() noexcept;

 private:
  DataProvider block_;
};

/// An input that is a stream: its content, or, where it is large and can be had that way, its bytes
/// piece by piece through a window.
class StreamAccess {
 public:
  /// Throws what ScopedConstData throws. A `lookAhead` of 0 insists on the content.
  StreamAccess(DataProvider& input, std::uint64_t lookAhead);

  [[nodiscard]] Platform::StreamInput& input() noexcept { return *input_; }

 private:
  std::optional<ScopedConstData<std::uint8_t>> content_;
  std::optional<SwapBuffer> window_;
  std::optional<Platform::StreamInput> input_;
};

/// Frame of the procedures that turn one zlib stream of byte planes (input 0, UInt8) into integers
/// (output 0: Int16, Int32, UInt32, Int64 or UInt64): connection, output shape, dispatch. After a
/// run the output has one dimension, of the values that the stream really held.
class PlaneStreamProcedure : public DataProcedure {
 public:
  void connectInput(std::size_t slot, Provider* provider) override;
  /// False if the stream is damaged. KelborDataException for an output type without a decoder.
  bool process(std::int32_t outputIndex) override;
  void updateOutputDimensionsFromProcessedInput() override {}
  /// Knows kTotalNumberUncompressedElements: the values of the output.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 protected:
  /// Exception `tooLarge` for a `limitInBytes` of 2^31 or more, or ": targetDimensions==NULL".
  PlaneStreamProcedure(DataManager* context, std::span<const std::uint64_t> targetDimensions,
                       DataType targetDataType, std::uint32_t limitInBytes, const char* tooLarge);

  [[nodiscard]] std::span<const std::uint64_t> targetDimensions() const noexcept {
    return {targetDimensions_.data(), targetDimensions_.size()};
  }
  [[nodiscard]] DataType targetDataType() const noexcept { return targetDataType_; }

  /// Decodes a whole stream.
  virtual StreamOutcome decode(Platform::StreamInput& stream, PlaneTarget target) = 0;
  /// How far decode() looks ahead; 0 where it needs the stream in one piece.
  [[nodiscard]] virtual std::uint64_t lookAhead() const { return 0; }

 private:
  StreamOutcome decodeInto(DataProvider& input, DataProvider& output);

  DataDimension::Sizes targetDimensions_;
  DataType targetDataType_;
};

/// Exception ": Failed to initialize stream!".
[[noreturn]] void raiseStreamNotReady();

}  // namespace Kelbor::MathModule

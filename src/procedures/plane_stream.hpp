#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "core/procedure.hpp"
#include "core/scoped_access.hpp"
#include "inflate/plane_chunks.hpp"
#include "inflate/stream_input.hpp"

namespace Kelbor::MathModule {

/// Whether the stored numbers are differences of neighbours or plain values.
enum class PlaneMode { kRunningSum, kPlain };

/// The output of a plane stream without its type: the memory, and the sink that composes planes
/// into it.
struct PlaneTarget {
  std::span<std::byte> memory;
  std::size_t width;  ///< bytes of a value
  Inflate::PlaneSink& sink;
};

/// Result of a stream. Unless `ok`, the target is partly written.
struct StreamOutcome {
  bool ok = false;
  /// Bytes of values; empty if the output keeps its shape.
  std::optional<std::uint64_t> decodedBytes;
};

/// Working memory from the session's data manager, not zeroed.
class SwapBuffer {
 public:
  /// Exception ": Failed to allocate swap buffer!".
  SwapBuffer(DataManager* context, std::uint64_t sizeInBytes);
  [[nodiscard]] std::span<std::byte> bytes() noexcept;

 private:
  DataProvider block_;
};

/// An input that is a stream: its whole content or, if it is large and a PiecewiseSource, a window
/// that moves along it.
class StreamAccess {
 public:
  /// Throws what ScopedConstData throws. A `lookAhead` of 0 requires the whole content.
  StreamAccess(DataProvider& input, std::uint64_t lookAhead);

  [[nodiscard]] Inflate::StreamInput& input() noexcept { return *input_; }

 private:
  std::optional<ScopedConstData<std::uint8_t>> content_;
  std::optional<SwapBuffer> window_;
  std::optional<Inflate::StreamInput> input_;
};

/// Returns a sink that composes planes into memory of the integer type `type`.
[[nodiscard]] std::unique_ptr<Inflate::PlaneSink> makePlaneComposer(DataType type,
                                                                    std::span<std::byte> memory,
                                                                    PlaneMode mode);

/// Base of the procedures that turn one zlib stream of byte planes (input 0, UInt8) into integers
/// (output 0: Int16, Int32, UInt32, Int64 or UInt64). Connects, shapes the output, dispatches on
/// its type and does the arithmetic: composes values, undoes their zigzag mapping, sums
/// differences. After a run the output has one dimension: the values that the stream held.
class PlaneStreamProcedure : public DataProcedure {
 public:
  void connectInput(std::size_t slot, Provider* provider) override;
  /// False if the stream is damaged. KelborDataException for an output type without a decoder.
  bool process(std::int32_t outputIndex) override;
  void updateOutputDimensionsFromProcessedInput() override {}
  /// Accepts kTotalNumberUncompressedElements: the number of values in the output.
  bool setParameter(std::string_view key, std::uint64_t value) override;

 protected:
  /// Exception `tooLarge` for a `limitInBytes` of 2^31 or more, or ": targetDimensions==NULL".
  PlaneStreamProcedure(DataManager* context, std::span<const std::uint64_t> targetDimensions,
                       DataType targetDataType, PlaneMode mode, std::uint32_t limitInBytes,
                       const char* tooLarge);

  [[nodiscard]] std::span<const std::uint64_t> targetDimensions() const noexcept {
    return {targetDimensions_.data(), targetDimensions_.size()};
  }
  [[nodiscard]] DataType targetDataType() const noexcept { return targetDataType_; }
  [[nodiscard]] PlaneMode mode() const noexcept { return mode_; }

  /// What a job has decoded ahead of this run, if any. Used once.
  struct Decoded {
    const std::byte* memory;
    Inflate::InflateResult result;
  };
  virtual std::optional<Decoded> takeDecoded() { return std::nullopt; }
  /// Decodes a whole stream.
  virtual StreamOutcome decode(Inflate::StreamInput& stream, const PlaneTarget& target) = 0;
  /// How far decode() looks ahead; 0 if it needs the whole stream in memory.
  [[nodiscard]] virtual std::uint64_t lookAhead() const { return 0; }

 private:
  StreamOutcome decodeInto(DataProvider& input, DataProvider& output);

  DataDimension::Sizes targetDimensions_;
  DataType targetDataType_;
  PlaneMode mode_;
};

/// Exception ": Failed to initialize stream!" if zlib could not open the stream.
[[nodiscard]] StreamOutcome outcomeOf(const Inflate::InflateResult& result);

}  // namespace Kelbor::MathModule

#pragma once

#include <boost/container/small_vector.hpp>
#include <cstdint>
#include <memory>
#include <span>

#include "core/procedure.hpp"
#include "procedures/chunked_input.hpp"
#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Runs copies of an inner procedure on the chunks of its inputs, in parallel; each copy writes its
/// slice of the output. A thread decodes several neighbouring chunks together if the inner
/// procedure is a JointDecoder. The inner procedure is a template: it is copied, never run.
///
/// All inputs have the same number of chunks. Inputs and output: UInt8, Int16, Int32, UInt32, Int64, UInt64, Float.
class OmpDecompressionWrapper final : public DataProcedure {
 public:
  /// std::invalid_argument if the inner procedure is null or has more than one output, and for a
  /// target without dimensions.
  OmpDecompressionWrapper(std::unique_ptr<DataProcedure> inner,
                          std::span<const std::uint64_t> targetDimensions,
                          std::uint32_t singleChunkMarker);

  void connectInput(std::size_t slot, Provider* provider) override;
  /// False if a chunk failed; the error log has the reason. std::runtime_error for tables that
  /// contradict each other or the target, KelborDataException for one that exceeds its input.
  bool process(std::int32_t outputIndex) override;

 private:
  using Inputs = boost::container::small_vector<ChunkedInput, 1>;
  template <class Out>
  class Worker;

  /// A chunk's slice of the output.
  struct Slice {
    std::byte* target;
    std::uint64_t valueCount;
    std::size_t sizeInBytes;
  };

  [[nodiscard]] ChunkedInput readChunks(std::size_t slot, std::uint64_t outputValues);
  template <class Out>
  [[nodiscard]] bool runChunks(Inputs& inputs, DataProvider& output);
  [[nodiscard]] std::unique_ptr<DataProcedure> cloneFor(Inputs& inputs, std::size_t chunk,
                                                        const Slice& slice) const;

  std::unique_ptr<DataProcedure> inner_;
  // Inline for one input of one chunk, the usual case, which then allocates nothing.
  DataDimension::Sizes targetDimensions_;
  /// 0 until an input with chunks has been read.
  std::uint64_t numberOfChunks_ = 0;
  /// Values per chunk, from the table of the last input read.
  DataDimension::Sizes chunkSizes_;
  std::uint32_t singleChunkMarker_;
};

/// Creator for tag 1002. Reads the inner class block from the class stream: u64 byte count and
/// bytes. Parameters: u32 marker, then those of the inner procedure.
[[nodiscard]] std::unique_ptr<morvex::ProcedureFactory> createParallelWrapperFactory(
    morvex::Deserializer& classStream);

}  // namespace Kelbor::MathModule

#pragma once

#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/piecewise_source.hpp"
#include "core/scoped_access.hpp"

namespace Kelbor::MathModule {

/// An input of chunks and one provider per chunk of it. The providers are views of the input's
/// content, which this object keeps locked for reading. If the input is a PiecewiseSource, they
/// fetch their own bytes instead. An input is either one chunk or begins with a chunk table:
///
///   offset     0  u64       C, number of chunks
///              8  u64 x C   stored size of each chunk, in elements of the input
///        8 + 8 C  u64 x C   values that each chunk yields
///       8 + 16 C  the chunks, one after the other
class ChunkedInput {
 public:
  /// `input` is borrowed. Throws what ScopedConstData throws.
  ChunkedInput(std::size_t slot, DataProvider& input);

  /// Takes the whole input as one chunk.
  void takeWhole();
  /// Reads a chunk table, which must have `chunkCount` chunks unless that is 0. Returns the values
  /// of each chunk. KelborDataException for a table or a chunk that exceeds the input,
  /// std::runtime_error for another number of chunks.
  [[nodiscard]] DataDimension::Sizes readTable(std::uint64_t chunkCount);
  /// The procedure's input slot that the chunks are for.
  [[nodiscard]] std::size_t slot() const noexcept { return slot_; }
  /// Null for an input with an empty table: the inputs after it set the number of chunks.
  [[nodiscard]] DataProvider* chunk(std::size_t index) {
    return index < chunks_.size() ? chunks_[index].get() : nullptr;
  }

 private:
  /// The first `count` bytes, or all if there are fewer; KelborDataException if they can't be read.
  [[nodiscard]] std::span<const std::byte> front(std::uint64_t count);
  /// Adds the chunk at byte `position`; all of it lies within the input.
  void addChunk(const DataDimension& dimension, std::uint64_t position);
  [[nodiscard]] std::uint64_t size() const { return input_->getDataDimension().getByteSize(); }

  std::size_t slot_;
  DataProvider* input_;
  PiecewiseSource* pieces_;
  std::unique_ptr<ScopedConstDataAny> content_;
  std::vector<std::byte> front_;
  boost::container::small_vector<std::unique_ptr<DataProvider>, 1> chunks_;
};

}  // namespace Kelbor::MathModule

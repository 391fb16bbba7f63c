#include "procedures/chunked_input.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "core/byte_cursor.hpp"
#include "core/error.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::uint64_t kCountBytes = sizeof(std::uint64_t);
constexpr std::uint64_t kTableRow = 2 * sizeof(std::uint64_t);

/// KelborDataException if the remaining bytes can't hold `count` items of `width` bytes.
void requireWithin(std::uint64_t count, std::uint64_t width, std::uint64_t bytesLeft) {
  if (count > bytesLeft / width) raise<KelborDataException>("Count exceeds the record");
}

/// Part of a source, fetched on demand.
class SliceProvider final : public DataProvider, public PiecewiseSource {
 public:
  SliceProvider(DataManager* context, const DataDimension& dimension, PiecewiseSource& whole,
                std::uint64_t position)
      : DataProvider(context, dimension), whole_(whole), position_(position) {}

  bool prepareContent() override {
    allocateContainer();
    const auto size = static_cast<std::size_t>(getDataDimension().getByteSize());
    return readPiece(0, {getContainer()->getData(), size});
  }
  bool hasPieces() override { return true; }
  bool readPiece(std::uint64_t from, std::span<std::byte> target) override {
    return whole_.readPiece(position_ + from, target);
  }

 private:
  PiecewiseSource& whole_;
  std::uint64_t position_;
};

}  // namespace

ChunkedInput::ChunkedInput(std::size_t slot, DataProvider& input)
    : slot_(slot), input_(&input), pieces_(piecesOf(input)) {
  if (!pieces_) content_ = std::make_unique<ScopedConstDataAny>(&input);
}

void ChunkedInput::takeWhole() {
  addChunk(input_->getDataDimension(), 0);
}

DataDimension::Sizes ChunkedInput::readTable(std::uint64_t chunkCount) {
  const auto count = ContainerCursor(front(kCountBytes)).read<std::uint64_t>();
  requireWithin(count, kTableRow, size() - kCountBytes);
  if (count > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
    raise<KelborDataException>(": Too many chunks!");
  }
  if (chunkCount != 0 && count != chunkCount) {
    raise<std::runtime_error>(": Mismatch in number of chunks!");
  }
  std::uint64_t position = kCountBytes + count * kTableRow;
  ContainerCursor table(front(position));
  (void)table.take(kCountBytes);
  DataDimension::Sizes storedSizes(static_cast<std::size_t>(count));
  for (std::uint64_t& stored : storedSizes) stored = table.read<std::uint64_t>();
  DataDimension::Sizes valueCounts(static_cast<std::size_t>(count));
  for (std::uint64_t& values : valueCounts) values = table.read<std::uint64_t>();
  const DataType type = input_->getDataDimension().getDataType();
  for (const std::uint64_t stored : storedSizes) {
    requireWithin(stored, type.getSize(), size() - position);
    addChunk(DataDimension(type, {stored}), position);
    position += stored * type.getSize();
  }
  return valueCounts;
}

std::span<const std::byte> ChunkedInput::front(std::uint64_t count) {
  count = std::min(count, size());
  if (!pieces_) return content_->bytes().first(static_cast<std::size_t>(count));
  front_.resize(static_cast<std::size_t>(count));
  if (!pieces_->readPiece(0, front_)) raise<KelborDataException>(": Failed to read the chunks!");
  return front_;
}

void ChunkedInput::addChunk(const DataDimension& dimension, std::uint64_t position) {
  if (pieces_) {
    chunks_.push_back(
        std::make_unique<SliceProvider>(input_->getContext(), dimension, *pieces_, position));
    return;
  }
  chunks_.push_back(std::make_unique<DataProvider>(input_->getContext(), dimension));
  // Chunks only read the memory; wrapMemory() has no const form.
  chunks_.back()->wrapMemory(const_cast<std::byte*>(content_->data()) + position,
                             dimension.getByteSize());
}

}  // namespace Kelbor::MathModule

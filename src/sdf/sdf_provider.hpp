#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/piecewise_source.hpp"
#include "sdf/sdf_format.hpp"

namespace Kelbor::MathModule {

class SdfFile;

/// The bytes of a dataset, or of a piece of it, read when they are needed. Keeps a copy of the
/// entry's fields: the file's tree may go and come back in the meantime.
class SdfDataProvider final : public DataProvider, public PiecewiseSource {
 public:
  /// `count` bytes from `offset` on. The file is borrowed and must outlive the provider.
  SdfDataProvider(const EntryFields& fields, std::uint64_t count, SdfFile& file,
                  std::uint64_t offset);

  /// Reads as many bytes as the dimension has by now. False, with nothing allocated for claims that
  /// the file can't meet, if that fails. A deflated dataset can only be read to its end.
  bool prepareContent() override;
  /// True for bytes that lie in the file as they are, and are all there.
  bool hasPieces() override;
  bool readPiece(std::uint64_t from, std::span<std::byte> target) override;

 private:
  [[nodiscard]] bool readInline(std::uint64_t count);
  [[nodiscard]] bool readPlain(std::uint64_t count);
  /// Whether the file has the first `count` bytes where they lie as they are.
  [[nodiscard]] bool hasPlainBytes(std::uint64_t count);
  [[nodiscard]] bool readDeflated(std::uint64_t count);
  /// Shows the container's first `count` bytes and allocates them if there is none. False if the
  /// container is constant or too small.
  [[nodiscard]] bool openTarget(std::uint64_t count, std::span<std::byte>& target);

  EntryFields entry_;
  SdfFile& file_;
  std::uint64_t offset_;
};

}  // namespace Kelbor::MathModule

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/piecewise_source.hpp"
#include "sdf/sdf_format.hpp"

namespace Kelbor::MathModule {

class SdfFile;

/// The bytes of a dataset, or of a part of it, read on demand. Copies the entry's fields, since the
/// file's tree may be dropped and loaded again meanwhile.
class SdfDataProvider final : public DataProvider, public PiecewiseSource {
 public:
  /// `count` bytes from `offset`. The file is borrowed and must outlive the provider.
  SdfDataProvider(const SdfObject& fields, std::uint64_t count, SdfFile& file,
                  std::uint64_t offset);

  /// Reads as many bytes as the dimension has now. On failure returns false; memory is only
  /// allocated for bytes that the file can hold. A deflated dataset can only be read to its end.
  bool prepareContent() override;
  /// True for bytes that the file stores plainly and completely.
  bool hasPieces() override;
  bool readPiece(std::uint64_t from, std::span<std::byte> target) override;

 private:
  [[nodiscard]] bool readInline(std::uint64_t count);
  [[nodiscard]] bool readPlain(std::uint64_t count);
  /// True if the file stores the first `count` bytes plainly.
  [[nodiscard]] bool hasPlainBytes(std::uint64_t count);
  [[nodiscard]] bool readDeflated(std::uint64_t count);
  /// Sets `target` to the container's first `count` bytes, allocating a missing container. False if
  /// the container is constant or too small.
  [[nodiscard]] bool openTarget(std::uint64_t count, std::span<std::byte>& target);

  SdfObject entry_;
  SdfFile& file_;
  std::uint64_t offset_;
};

}  // namespace Kelbor::MathModule

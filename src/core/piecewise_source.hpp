#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/provider.hpp"

namespace Kelbor {

/// Mixin for a byte provider that can be read in pieces, so that a sequential reader need not hold
/// all of it.
class PiecewiseSource {
 public:
  PiecewiseSource() = default;
  PiecewiseSource(const PiecewiseSource&) = delete;
  PiecewiseSource& operator=(const PiecewiseSource&) = delete;
  virtual ~PiecewiseSource() = default;

  /// True if all bytes of the provider's current dimension can be fetched.
  [[nodiscard]] virtual bool hasPieces() = 0;
  /// Fills `target` with the bytes from offset `from`; false on failure. Safe for any thread.
  [[nodiscard]] virtual bool readPiece(std::uint64_t from, std::span<std::byte> target) = 0;
};

/// The pieces of a provider, or null if its whole content is the better choice: because it exists
/// already, has a second reader, or is not large.
[[nodiscard]] PiecewiseSource* piecesOf(DataProvider& provider);

}  // namespace Kelbor

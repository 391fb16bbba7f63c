#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/provider.hpp"

namespace Kelbor {

/// What a provider of bytes is besides where they lie somewhere else and can be fetched piece by
/// piece: who reads them once, in order, then needs no block for all of them.
class PiecewiseSource {
 public:
  PiecewiseSource() = default;
  PiecewiseSource(const PiecewiseSource&) = delete;
  PiecewiseSource& operator=(const PiecewiseSource&) = delete;
  virtual ~PiecewiseSource() = default;

  /// True if all bytes that the provider's dimension has by now can be fetched.
  [[nodiscard]] virtual bool hasPieces() = 0;
  /// Fills `target` with the bytes from `from` on; false if that fails. From any thread.
  [[nodiscard]] virtual bool readPiece(std::uint64_t from, std::span<std::byte> target) = 0;
};

/// The pieces of a provider, or null where its content is the better way: it is there already,
/// somebody else needs it, or it is not large.
[[nodiscard]] PiecewiseSource* piecesOf(DataProvider& provider);

}  // namespace Kelbor

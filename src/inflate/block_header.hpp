#pragma once

#include <cstddef>
#include <cstdint>

#include "inflate/lane.hpp"

namespace Kelbor::Inflate {

/// Most bytes that readBlockHeader() reads: a header that stores each of its 316 lengths
/// separately, and the word after it.
inline constexpr std::size_t kHeaderReads = 640;

/// Reads a block's header and prepares the lane for its content: builds the tables and sets the
/// state to kSymbols or kStored. `bitEnd` is the end of the input; kHeaderReads bytes from the
/// lane's position must be readable, whatever they hold. The state is kRefused for a header that
/// zlib refuses or that is cut. Returns the size of a stored block in bytes.
std::size_t readBlockHeader(Lane& lane, std::uint64_t bitEnd) noexcept;

}  // namespace Kelbor::Inflate

#pragma once

#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

/// out[i] = carry + in[0] + ... + in[i], wrapping in U, an unsigned type of 8, 16, 32 or 64 bits.
/// Both spans have the same size and are the same memory or disjoint. Returns the last sum (the
/// carry if there are no values), so that a long array can be summed in pieces.
template <class U>
U prefixSum(std::span<const U> in, std::span<U> out, U carry) noexcept;

}  // namespace Kelbor::MathModule::Kernels

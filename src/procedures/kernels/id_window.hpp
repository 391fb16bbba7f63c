#pragma once

#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// A list of ids is stored as one reference per position: 0 takes the next new id, w > 0 repeats the
// id w positions before. Both functions exist for std::int32_t, std::uint32_t, std::int64_t and
// std::uint64_t.

/// True if every reference points into the list before its own position and the new ids suffice.
template <class T>
[[nodiscard]] bool idWindowIsValid(std::span<const T> references,
                                   std::uint64_t newIdCount) noexcept;

/// Rebuilds the ids. Requires idWindowIsValid(). `references` and `out` have the same size and are
/// the same memory or disjoint.
template <class T>
void reconstructIds(std::span<const T> references, std::span<const T> newIds,
                    std::span<T> out) noexcept;

}  // namespace Kelbor::MathModule::Kernels

#pragma once

#include <cstdint>
#include <span>

namespace Kelbor::MathModule::Kernels {

// A list of ids is stored as one reference per position: 0 takes the next of the new ids, w > 0
// repeats the id that stands w positions before. Both functions exist for std::int32_t,
// std::uint32_t, std::int64_t and std::uint64_t.

/// True if no reference points before the list or behind its own position, and the new ids suffice.
template <class T>
[[nodiscard]] bool idWindowIsValid(std::span<const T> references,
                                   std::uint64_t newIdCount) noexcept;

/// Rebuilds the ids from references for which idWindowIsValid has been true. `references` and `out`
/// have one size and are the same memory or disjoint.
template <class T>
void reconstructIds(std::span<const T> references, std::span<const T> newIds,
                    std::span<T> out) noexcept;

}  // namespace Kelbor::MathModule::Kernels

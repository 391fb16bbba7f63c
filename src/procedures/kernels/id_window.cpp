#include "procedures/kernels/id_window.hpp"

#include <cstddef>

namespace Kelbor::MathModule::Kernels {

template <class T>
bool idWindowIsValid(std::span<const T> references, std::uint64_t newIdCount) noexcept {
  bool inside = true;
  std::uint64_t zeros = 0;
  for (std::size_t i = 0; i < references.size(); ++i) {
    const T reference = references[i];
    // Negative references convert to the largest numbers and fail as well.
    inside &= static_cast<std::uint64_t>(reference) <= std::uint64_t{i};
    zeros += reference == 0 ? 1 : 0;
  }
  return inside && zeros <= newIdCount;
}

template <class T>
void reconstructIds(std::span<const T> references, std::span<const T> newIds,
                    std::span<T> out) noexcept {
  // Branch-free: new and repeated ids alternate without a pattern, and mispredicted branches would
  // double the time. Compilers turn a ternary into a branch here, so the choice is made on the
  // addresses: (w | -w) has its top bit set for every w but 0.
  const T* nextNew = newIds.data();
  T* target = out.data();
  for (const T reference : references) {
    const auto w = static_cast<std::uint64_t>(reference);
    const std::uint64_t isRepeated = (w | (0 - w)) >> 63;
    const auto maskOfNew = static_cast<std::uintptr_t>(isRepeated - 1);
    const std::uintptr_t repeated =
        reinterpret_cast<std::uintptr_t>(target) - static_cast<std::uintptr_t>(w) * sizeof(T);
    const auto fresh = reinterpret_cast<std::uintptr_t>(nextNew);
    nextNew += 1 - isRepeated;
    *target++ = *reinterpret_cast<const T*>(repeated ^ ((repeated ^ fresh) & maskOfNew));
  }
}

template bool idWindowIsValid(std::span<const std::int32_t>, std::uint64_t) noexcept;
template bool idWindowIsValid(std::span<const std::uint32_t>, std::uint64_t) noexcept;
template bool idWindowIsValid(std::span<const std::int64_t>, std::uint64_t) noexcept;
template bool idWindowIsValid(std::span<const std::uint64_t>, std::uint64_t) noexcept;

template void reconstructIds(std::span<const std::int32_t>, std::span<const std::int32_t>,
                             std::span<std::int32_t>) noexcept;
template void reconstructIds(std::span<const std::uint32_t>, std::span<const std::uint32_t>,
                             std::span<std::uint32_t>) noexcept;
template void reconstructIds(std::span<const std::int64_t>, std::span<const std::int64_t>,
                             std::span<std::int64_t>) noexcept;
template void reconstructIds(std::span<const std::uint64_t>, std::span<const std::uint64_t>,
                             std::span<std::uint64_t>) noexcept;

}  // namespace Kelbor::MathModule::Kernels

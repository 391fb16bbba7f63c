#pragma once

#include <span>
#include <type_traits>

namespace Kelbor::MathModule::Kernels {

/// `T` with its integer type made unsigned; keeps constness.
template <class T>
using UnsignedOf =
    std::conditional_t<std::is_const_v<T>, const std::make_unsigned_t<std::remove_const_t<T>>,
                       std::make_unsigned_t<std::remove_const_t<T>>>;

/// The same memory as values of the unsigned type of equal width, in which sums may wrap. Most
/// kernels exist for unsigned elements only, since signed ones give the same bits.
template <class T>
[[nodiscard]] std::span<UnsignedOf<T>> unsignedView(std::span<T> values) noexcept {
  return {reinterpret_cast<UnsignedOf<T>*>(values.data()), values.size()};
}

}  // namespace Kelbor::MathModule::Kernels

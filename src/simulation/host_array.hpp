#pragma once

#include <cstdint>

namespace morvex {

/// The array to read into; the host allocates and frees it.
template <class T, class S>
struct BufferInfo {
  T* data;
  /// In elements.
  S size;
};

using FloatBuffer = BufferInfo<float, long long>;
using Int32Buffer = BufferInfo<std::int32_t, long long>;
using Int16Buffer = BufferInfo<std::int16_t, long long>;

template <class T>
[[nodiscard]] std::uint64_t byteSizeOf(const BufferInfo<T, long long>& buffer) {
  return static_cast<std::uint64_t>(buffer.size) * sizeof(T);
}

}  // namespace morvex

#pragma once

#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "procedures/kernels/simd_targets.hpp"

namespace Kelbor::MathModule::Kernels::Testing {

/// Around every vector width, group, block of 4096 and of 8192, and one that fits nothing.
inline const std::vector<std::size_t> kSizes = {
    0,  1,   2,   3,   7,   8,   15,   16,   17,   31,   32,   33,   63,    64,    65,    95,
    96, 127, 128, 129, 255, 256, 4095, 4096, 4097, 8191, 8192, 8193, 12288, 12289, 100003};

/// Runs `check` on every instruction set that this machine has. Vectors that the checks fill are
/// allocated in exactly the size that a kernel may touch, for sanitizers to see one byte too many.
template <class Check>
void onEveryTarget(Check check) {
  ASSERT_FALSE(simdTargets().empty());
  for (const SimdTarget& target : simdTargets()) {
    SCOPED_TRACE(target.name);
    useSimdTarget(target);
    check();
  }
  useBestSimdTarget();
}

template <std::integral T>
std::vector<T> randomValues(std::size_t count, std::uint64_t seed) {
  std::mt19937_64 generator(seed * 977 + count);
  std::vector<T> values(count);
  for (T& value : values) value = static_cast<T>(generator());
  return values;
}

inline std::vector<std::byte> randomBytes(std::size_t count, std::uint64_t seed) {
  std::vector<std::byte> bytes(count);
  const auto values = randomValues<std::uint8_t>(count, seed);
  if (count != 0) std::memcpy(bytes.data(), values.data(), count);
  return bytes;
}

/// Names the first place where two arrays part, instead of printing both.
template <class T>
testing::AssertionResult sameBits(std::span<const T> actual, std::span<const T> expected) {
  if (actual.size() != expected.size()) return testing::AssertionFailure() << "sizes differ";
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (std::memcmp(&actual[i], &expected[i], sizeof(T)) != 0) {
      return testing::AssertionFailure() << "value " << i << " of " << actual.size() << " is "
                                         << +actual[i] << ", not " << +expected[i];
    }
  }
  return testing::AssertionSuccess();
}

template <class T>
testing::AssertionResult sameBits(const std::vector<T>& actual, const std::vector<T>& expected) {
  return sameBits(std::span<const T>(actual), std::span<const T>(expected));
}

}  // namespace Kelbor::MathModule::Kernels::Testing

#include "writer/streams.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <limits>
#include <random>

namespace morvex::Writer {
namespace {

/// Undoes a plane stream as slowly as can be: one call of inflate for each chunk with the input
/// that the format grants it, every call must fill its chunk.
template <class T>
std::vector<T> slowlyDecoded(const Bytes& stream, std::size_t count, bool inARow,
                             std::size_t chunkBytes) {
  using U = std::make_unsigned_t<T>;
  const std::size_t perChunk = std::max<std::size_t>(chunkBytes / sizeof(T), 1);
  const auto bound =
      static_cast<std::size_t>(static_cast<double>(perChunk * sizeof(T)) * 1.002) + 12;
  Bytes input = stream;
  z_stream z{};
  EXPECT_EQ(::inflateInit(&z), Z_OK);
  z.next_in = reinterpret_cast<Bytef*>(input.data());
  std::vector<T> values;
  U running = 0;
  while (values.size() < count) {
    const std::size_t n = std::min(perChunk, count - values.size());
    std::vector<unsigned char> planes(n * sizeof(T));
    const auto used =
        static_cast<std::size_t>(reinterpret_cast<std::byte*>(z.next_in) - input.data());
    z.avail_in = static_cast<uInt>(std::min(bound, input.size() - used));
    z.next_out = planes.data();
    z.avail_out = static_cast<uInt>(planes.size());
    EXPECT_GE(::inflate(&z, Z_NO_FLUSH), 0);
    EXPECT_EQ(z.avail_out, 0U) << "chunk at value " << values.size();
    for (std::size_t i = 0; i < n; ++i) {
      U word = 0;
      for (std::size_t p = 0; p < sizeof(T); ++p) {
        word = static_cast<U>(word | static_cast<U>(static_cast<U>(planes[p * n + i]) << (8 * p)));
      }
      const U half = static_cast<U>(word >> 1);
      const U difference = word % 2 == 0 ? half : static_cast<U>(-half - 1);
      running = inARow ? static_cast<U>(running + difference) : difference;
      values.push_back(static_cast<T>(running));
    }
    if (z.avail_out != 0) break;
  }
  EXPECT_EQ(::inflateEnd(&z), Z_OK);
  return values;
}

/// The extremes of the type, then zeros, noise, and both in turns, whose blocks differ most.
template <class T>
std::vector<T> mixedValues(std::size_t count) {
  using Limits = std::numeric_limits<T>;
  std::mt19937_64 random(count);
  std::vector<T> values{Limits::max(), Limits::min(), 0, static_cast<T>(-1), Limits::min(), 1};
  for (std::size_t i = values.size(); i < count; ++i) {
    const bool isQuiet = (i / 3000) % 3 == 0 || (i / 700) % 2 == 0;
    values.push_back(static_cast<T>(isQuiet ? 0 : random()));
  }
  values.resize(count);
  return values;
}

template <class T>
void expectEachChunkForOneCall() {
  for (const std::uint32_t chunkBytes : {1U, 4U, 16U, 100U, 1000U, 4096U, 65536U, 200'000U}) {
    for (const std::size_t count : {1U, 2U, 6U, 5000U, 60'001U}) {
      const std::vector<T> values = mixedValues<T>(count);
      for (const Chaining chaining : {Chaining::differences, Chaining::none}) {
        const Bytes stream = planeStream(std::span<const T>(values), chaining, chunkBytes);
        ASSERT_EQ(slowlyDecoded<T>(stream, count, chaining == Chaining::differences, chunkBytes),
                  values)
            << sizeof(T) << " bytes in chunks of " << chunkBytes << ", " << count << " values";
      }
    }
  }
}

TEST(PlaneStreams, GiveEachChunkToOneCallOfInflate) {
  expectEachChunkForOneCall<std::int16_t>();
  expectEachChunkForOneCall<std::int32_t>();
  expectEachChunkForOneCall<std::uint32_t>();
  expectEachChunkForOneCall<std::int64_t>();
  expectEachChunkForOneCall<std::uint64_t>();
}

}  // namespace
}  // namespace morvex::Writer

#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "morvex/morvex_ensg.h"
#include "support/temporary_path.hpp"
#include "writer/result_file.hpp"

namespace morvex::Writer {

using Floats = std::vector<float>;
using Ints = std::vector<std::int32_t>;

/// A file that goes with its test, opened through the exports.
class ResultSession : public ::testing::Test {
 protected:
  ~ResultSession() override { MX_exit(); }

  void open(const ResultFileBuilder& file) {
    file.write(path());
    open();
  }
  void open(const ResultImage& image) {
    image.write(path());
    open();
  }
  void open() { ASSERT_EQ(MX_openFile(path().c_str(), 0), 0); }

  [[nodiscard]] std::string path() const { return temporary_.string(); }

  /// All axes of a part, or of the particles for part -1.
  static std::array<Floats, 3> coordinates(int step, int part, std::size_t count) {
    std::array<Floats, 3> axes{Floats(count), Floats(count), Floats(count)};
    const int answer = part < 0 ? MX_getMeasuredParticleCoordinates(step, axes[0].data(),
                                                                    axes[1].data(), axes[2].data())
                                : MX_getPartCoordinates(step, part, axes[0].data(), axes[1].data(),
                                                        axes[2].data());
    EXPECT_EQ(answer, 0);
    return axes;
  }

  static Floats variable(int index, const ValueKey& key, std::size_t count, int geometryStep = 0) {
    Floats values(count);
    EXPECT_EQ(MX_getVariableByComponent(key.step, geometryStep, index, key.part, 1, key.elementType,
                                        key.imaginary ? 1 : 0, key.component, values.data()),
              0);
    return values;
  }

  static Ints connectivity(int step, int part, int type, std::size_t entries) {
    Ints nodes(entries);
    EXPECT_EQ(MX_getElementConnectivity(step, part, type, nodes.data()), 0);
    return nodes;
  }

 private:
  TemporaryPath temporary_{"writer.sdf"};
};

/// Smooth values with some noise, other ones for each `seed`.
inline Floats wave(std::size_t count, unsigned seed, float amplitude = 100.0F) {
  std::mt19937 random(seed);
  Floats values;
  for (std::size_t i = 0; i < count; ++i) {
    const float noise = static_cast<float>(random() % 1000) / 1000.0F;
    values.push_back(amplitude *
                     (std::sin(0.01F * static_cast<float>(i + 17 * seed)) + 0.1F * noise));
  }
  return values;
}

/// `count` node numbers below `nodes` with many repeats, as neighbouring elements have them.
inline Ints someIds(std::size_t count, std::int32_t nodes, unsigned seed = 1) {
  std::mt19937 random(seed);
  Ints ids;
  for (std::size_t i = 0; i < count; ++i) {
    const auto near = static_cast<std::int32_t>(i / 4 + random() % 8);
    ids.push_back(1 + near % nodes);
  }
  return ids;
}

/// Compares bit by bit, so that NaN equals itself and -0 does not equal 0.
inline void expectSameBits(const Floats& read, const Floats& written) {
  ASSERT_EQ(read.size(), written.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    ASSERT_EQ(std::bit_cast<std::uint32_t>(read[i]), std::bit_cast<std::uint32_t>(written[i]))
        << "value " << i << ": " << read[i] << " instead of " << written[i];
  }
}

/// Multiples of the step, nearest to what was written; what is no number must come back as it was.
inline void expectQuantised(const Floats& read, const Floats& written, double step) {
  ASSERT_EQ(read.size(), written.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const double word = std::nearbyint(static_cast<double>(written[i]) / step);
    const bool isOutlier = !(std::abs(word) <= 1 << 30);
    // An integer has no negative zero.
    const float expected = isOutlier ? written[i] : static_cast<float>((word + 0.0) * step);
    ASSERT_EQ(std::bit_cast<std::uint32_t>(read[i]), std::bit_cast<std::uint32_t>(expected))
        << "value " << i << " of " << written[i];
    if (!isOutlier) {
      const double tolerance = step / 2 + std::abs(written[i]) * 1e-7;
      ASSERT_NEAR(read[i], written[i], tolerance);
    }
  }
}

}  // namespace morvex::Writer

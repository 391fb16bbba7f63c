// Payloads that are taken in piece by piece, since they are not small.

#include <filesystem>

#include "core/error.hpp"
#include "result_session.hpp"

namespace morvex::Writer {
namespace {

constexpr std::size_t kNodes = 700'000;

class LargeArrays : public ResultSession {
 protected:
  /// Noise that hardly becomes shorter, in multiples of what it is stored in.
  static Floats noise(unsigned seed) {
    std::mt19937 random(seed);
    Floats values(kNodes);
    for (float& value : values) value = 0.5F * static_cast<float>(random() % 100'000);
    return values;
  }

  static ResultFileBuilder fileOf(std::uint64_t tableChunks) {
    ResultFileBuilder file;
    file.tableChunks(tableChunks);
    file.part("plate").nodes(noise(1), noise(2), noise(3));
    file.variable("exact", Location::kPerNode).set({}, noise(4));
    file.variable("quantised", Location::kPerNode)
        .quantised(Quantisation::uniform(0.5))
        .set({}, noise(5));
    return file;
  }
};

TEST_F(LargeArrays, KeepEveryBit) {
  for (const std::uint64_t tableChunks : {1U, 3U}) {
    open(fileOf(tableChunks));
    const auto axes = coordinates(0, 0, kNodes);
    for (unsigned axis = 0; axis < 3; ++axis) expectSameBits(axes[axis], noise(axis + 1));
    expectSameBits(variable(0, {}, kNodes), noise(4));
    expectSameBits(variable(1, {}, kNodes), noise(5));
    MX_exit();
  }
}

TEST_F(LargeArrays, DamageInTheMiddleFailsOneReadAndAShrunkenFileTheOther) {
  ResultImage image = fileOf(1).image();
  Bytes& payload = image["/variable/exact/0/0/0_data"];
  ASSERT_GT(payload.size(), 1'000'000U);
  payload[payload.size() / 2] ^= std::byte{0x10};
  open(image);
  EXPECT_THROW((void)variable(0, {}, kNodes), Kelbor::Exception);
  expectSameBits(variable(1, {}, kNodes), noise(5));
  std::filesystem::resize_file(path(), 1'000'000);
  EXPECT_THROW((void)variable(1, {}, kNodes), Kelbor::Exception);
}

}  // namespace
}  // namespace morvex::Writer

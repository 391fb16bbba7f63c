#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/curious_host.hpp"
#include "support/log_capture.hpp"
#include "support/small_file.hpp"
#include "support/temporary_path.hpp"

namespace morvex {
namespace {

/// Damages a file that holds each stored form and asks it for everything: whatever is wrong with
/// the bytes, a session ends in answers and defined failures, and the next file opens as if nothing
/// had happened. Run under the sanitizers this also shows that nothing is read or written outside.
class DamageTest : public testing::Test {
 protected:
  DamageTest() {
    Writer::ResultFileBuilder file;
    describeSmallFile(file);
    file.write(healthy_.string());
    std::ifstream in(healthy_.string(), std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(in), {});
    whole_ = askEverything(healthy_.string(), kPatience);
  }

  Inquiry askDamaged(const std::string& bytes) {
    std::ofstream(damaged_.string(), std::ios::binary | std::ios::trunc) << bytes;
    return askEverything(damaged_.string(), kPatience);
  }
  void expectHealthyFileToAnswerAsBefore() {
    EXPECT_EQ(askEverything(healthy_.string(), kPatience).digest, whole_.digest);
  }

  static constexpr Curiosity kPatience{
      .largestArray = 4096, .mostSteps = 8, .mostParts = 4, .mostVariables = 8, .mostArrays = 2000};

  Kelbor::LogCapture log_{Kelbor::LogLevel::silent};
  TemporaryPath healthy_{"healthy.sdf"};
  TemporaryPath damaged_{"damaged.sdf"};
  std::string bytes_;
  Inquiry whole_;
};

TEST_F(DamageTest, HealthyFileAnswersEverythingThatItHas) {
  ASSERT_TRUE(whole_.opened);
  EXPECT_GT(whole_.answers, 100U);
  EXPECT_EQ(whole_.passedOver, 0U);
}

TEST_F(DamageTest, FileCutAtAnyLengthIsRefused) {
  // The tables are found from the end of the file: without its last byte a file is none.
  for (std::size_t length = 0; length < bytes_.size(); ++length) {
    const Inquiry inquiry = askDamaged(bytes_.substr(0, length));
    EXPECT_LE(inquiry.answers, whole_.answers) << "length " << length;
  }
  expectHealthyFileToAnswerAsBefore();
}

TEST_F(DamageTest, AnyFlippedByteEndsInAnswersOrDefinedFailures) {
  std::size_t refused = 0;
  for (std::size_t at = 0; at < bytes_.size(); ++at) {
    std::string flipped = bytes_;
    flipped[at] = static_cast<char>(~flipped[at]);
    if (!askDamaged(flipped).opened) ++refused;
  }
  EXPECT_GT(refused, 0U);
  EXPECT_LT(refused, bytes_.size()) << "payloads can be damaged without a word at opening";
  expectHealthyFileToAnswerAsBefore();
}

}  // namespace
}  // namespace morvex

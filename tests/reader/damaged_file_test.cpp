#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/data_manager.hpp"
#include "sdf/sdf_file.hpp"
#include "support/curious_host.hpp"
#include "support/log_capture.hpp"
#include "support/memory_file.hpp"
#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"

/// What no damaged file of these tests may take. They have some 10 KB, of which a deflate stream
/// can make 1032 times as much.
#define MORVEX_DAMAGE_LIMIT_MB 32

#ifdef __SANITIZE_ADDRESS__
#define MORVEX_TEXT_OF(value) #value
#define MORVEX_OPTION(name, value) name "=" MORVEX_TEXT_OF(value)
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return MORVEX_OPTION("max_allocation_size_mb", MORVEX_DAMAGE_LIMIT_MB);
}
#endif

namespace morvex {
namespace {

// Shadow memory knows no measure. clang tells of its sanitizers in another way than g++.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitsMemory = false;
#elif defined(__clang__)
constexpr bool kLimitsMemory =
    !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool kLimitsMemory = true;
#endif

/// Lets every allocation fail that would take the process more than so many bytes above what it
/// holds when the limit begins.
class MemoryLimit {
 public:
  explicit MemoryLimit(std::uint64_t bytes) {
    ::getrlimit(RLIMIT_DATA, &before_);
    if (!kLimitsMemory) return;
    rlimit limit = before_;
    limit.rlim_cur = dataInUse() + bytes;
    if (::setrlimit(RLIMIT_DATA, &limit) != 0) throw std::runtime_error("setrlimit");
  }
  ~MemoryLimit() { ::setrlimit(RLIMIT_DATA, &before_); }
  MemoryLimit(const MemoryLimit&) = delete;
  MemoryLimit& operator=(const MemoryLimit&) = delete;

 private:
  static std::uint64_t dataInUse() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
      std::uint64_t kilobytes = 0;
      if (word == "VmData:" && status >> kilobytes) return kilobytes << 10;
    }
    throw std::runtime_error("no VmData");
  }

  rlimit before_{};
};

using Bytes = std::vector<std::byte>;
using Outcomes = std::vector<std::uint64_t>;

constexpr Curiosity kPatience{
    .largestArray = 4096, .mostSteps = 3, .mostParts = 4, .mostVariables = 12, .mostArrays = 2000};

Bytes contentOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(in), {});
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

/// Where a dataset stands in its file.
struct Place {
  std::string path;
  std::size_t begin;
  std::size_t end;
};

/// Damages files that together hold each stored form and asks them for everything: whatever is
/// wrong with the bytes, a session ends in answers and defined failures, takes no more memory than
/// it is allowed, and the next file opens as if nothing had happened. Run under the sanitizers this
/// also shows that nothing is read or written outside.
class DamageTest : public testing::TestWithParam<StoredForm> {
 protected:
  DamageTest() : image_(imageOf(GetParam())) {
    const TemporaryPath path("whole.sdf");
    image_.write(path.string(), GetParam().deflatesRecords);
    bytes_ = contentOf(path.string());
    findPlaces(path.string());
    whole_ = ask(bytes_);
  }

  Inquiry ask(const Bytes& bytes) {
    file_.set(bytes);
    return askEverything(file_.path(), kPatience);
  }
  /// A session with damaged bytes, and now and then one with the healthy file behind it.
  Inquiry askDamaged(const Bytes& bytes, const std::string& what) {
    constexpr int kHealthyEvery = 50;
    const Inquiry inquiry = ask(bytes);
    EXPECT_EQ(inquiry.undefined, "") << what;
    if (++sessions_ % kHealthyEvery == 0) {
      EXPECT_EQ(ask(bytes_).outcomes, whole_.outcomes) << "after " << what;
    }
    return inquiry;
  }
  /// Which of a sweep's damages are tried: all of them, or one in kStride. As a prime it takes each
  /// bit of a byte in turn.
  bool isTried() {
    constexpr std::size_t kStride = 29;
    static const bool all = std::getenv("MORVEX_WHOLE_SWEEPS") != nullptr;
    return all || damages_++ % kStride == 0;
  }
  Inquiry askFlipped(std::size_t at, unsigned mask) {
    Bytes flipped = bytes_;
    flipped[at] ^= static_cast<std::byte>(mask);
    return askDamaged(flipped, "byte " + std::to_string(at) + " mask " + std::to_string(mask));
  }
  void flipBits(std::size_t at) {
    for (int bit = 0; bit < 8; ++bit) {
      if (isTried()) askFlipped(at, 1U << bit);
    }
  }

  /// The questions whose answers are not those of the healthy file.
  [[nodiscard]] std::set<std::size_t> changesIn(const Outcomes& outcomes) const {
    std::set<std::size_t> changed;
    EXPECT_EQ(outcomes.size(), whole_.outcomes.size()) << "data don't decide what is asked";
    for (std::size_t q = 0; q < std::min(outcomes.size(), whole_.outcomes.size()); ++q) {
      if (outcomes[q] != whole_.outcomes[q]) changed.insert(q);
    }
    return changed;
  }

  Kelbor::LogRedirect log_{nullptr, Kelbor::LogLevel::kSilent};
  Writer::ResultImage image_;
  Bytes bytes_;
  /// Where the container's tables begin.
  std::size_t tables_ = 0;
  /// All datasets that are not inlined in a table, but for the records.
  std::vector<Place> data_;
  Inquiry whole_;

 private:
  void findPlaces(const std::string& path) {
    std::memcpy(&tables_, bytes_.data() + Kelbor::MathModule::kTableOffsetPosition, 8);
    Kelbor::DataManager manager;
    Kelbor::MathModule::SdfFile file(&manager, path, false, "", false);
    for (const auto& [name, content] : image_.datasets()) {
      const std::size_t slash = name.rfind('/');
      const auto fields = file.findDataset(name.substr(0, slash), name.substr(slash + 1));
      const bool isData = name.starts_with("/geometry/") || name.starts_with("/variable/");
      if (!isData || fields->field1 <= Kelbor::MathModule::kMaxInlineSize) continue;
      data_.push_back({name, fields->field2, fields->field2 + fields->field1});
    }
  }

  MemoryFile file_;
  int sessions_ = 0;
  std::size_t damages_ = 0;
  MemoryLimit limit_{std::uint64_t{MORVEX_DAMAGE_LIMIT_MB} << 20};
};

TEST_P(DamageTest, HealthyFileAnswersEverythingThatItHas) {
  ASSERT_TRUE(whole_.opened);
  EXPECT_GT(whole_.answers, 40U);
  EXPECT_EQ(whole_.passedOver, 0U);
  EXPECT_EQ(whole_.undefined, "");
  EXPECT_GT(data_.size(), 10U);
}

TEST_P(DamageTest, MemoryIsLimited) {
  if (!kLimitsMemory) GTEST_SKIP() << "the sanitizer does, or nothing";
  constexpr std::size_t kTooMuch = (MORVEX_DAMAGE_LIMIT_MB + 1) << 20;
  const auto take = [](std::size_t size) { return Bytes(size, std::byte{1}).size(); };
  EXPECT_THROW((void)take(kTooMuch), std::bad_alloc);
}

TEST_P(DamageTest, FileCutAtAnyLengthIsRefused) {
  // The tables are found from the end of the file: without its last byte a file is none.
  for (std::size_t length = 0; length < bytes_.size(); ++length) {
    if (!isTried()) continue;
    const Bytes cut(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_FALSE(askDamaged(cut, "length " + std::to_string(length)).opened) << length;
  }
}

TEST_P(DamageTest, EachBitOfHeaderAndTablesEndsInAnswersOrDefinedFailures) {
  const auto flipAll = [this](std::size_t begin, std::size_t end) {
    for (std::size_t at = begin; at < end; ++at) flipBits(at);
  };
  flipAll(0, Kelbor::MathModule::kHeaderSize);
  flipAll(tables_, bytes_.size());
}

TEST_P(DamageTest, EachByteOfTheRecordsEndsInAnswersOrDefinedFailures) {
  std::size_t at = Kelbor::MathModule::kHeaderSize;
  std::size_t bytes = 0;
  while (at < tables_) {
    const auto inside = std::ranges::find_if(
        data_, [at](const Place& place) { return place.begin <= at && at < place.end; });
    if (inside != data_.end()) {
      at = inside->end;
      continue;
    }
    for (const unsigned mask : {0xFFU, 0x01U}) {
      if (isTried()) askFlipped(at, mask);
    }
    ++at;
    ++bytes;
  }
  EXPECT_GT(bytes, 100U);
}

/// Data carry no checksums but those of their zlib streams: a changed number is what the file says.
/// Yet only those answers may change that lean on the dataset.
TEST_P(DamageTest, DamagedDatasetReachesNoOtherAnswers) {
  for (const auto& [path, begin, end] : data_) {
    Writer::ResultImage without = image_;
    without.erase(path);
    const TemporaryPath file("without.sdf");
    without.write(file.string(), GetParam().deflatesRecords);
    const std::set<std::size_t> leaning =
        changesIn(askEverything(file.string(), kPatience).outcomes);
    EXPECT_FALSE(leaning.empty()) << path << " is never asked for";
    for (std::size_t at = begin; at < end; ++at) {
      if (!isTried()) continue;
      const std::set<std::size_t> changed = changesIn(askFlipped(at, 0xFF).outcomes);
      EXPECT_TRUE(std::ranges::includes(leaning, changed)) << path << ", byte " << at - begin;
    }
  }
}

/// The front of encoded data tells the recipe, the parameters, and the sizes of the chunks.
TEST_P(DamageTest, EachBitOfAChunkTableEndsInAnswersOrDefinedFailures) {
  constexpr std::size_t kHeaderAndTable = 8 + 8 + 16;
  for (const Place& place : data_) {
    const std::size_t end = std::min(place.end, place.begin + kHeaderAndTable);
    for (std::size_t at = place.begin; at < end; ++at) flipBits(at);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, DamageTest, testing::ValuesIn(kStoredForms),
                         [](const auto& form) { return std::string(form.param.name); });

}  // namespace
}  // namespace morvex

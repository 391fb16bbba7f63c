#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "core/scoped_access.hpp"
#include "recipes/dataset_cache.hpp"
#include "recipes/time_differences.hpp"
#include "writer/differences.hpp"

namespace morvex {
namespace {

TEST(TimePattern, FollowsTheRuleOfTheSeries) {
  struct Case {
    int steps, blockSize, maxDepth;
    const char* pattern;
  };
  for (const Case& c :
       {Case{1, 2, 0, "K"}, Case{2, 2, 0, "KK"}, Case{3, 2, 0, "KBK"}, Case{4, 4, 0, "KAAK"},
        Case{12, 4, 0, "KBM2BIBM2BKAAK"}, Case{9, 8, 0, "KBM2BM4BM2BK"}, Case{9, 2, 1, "KBIBKBIBK"},
        Case{9, 2, 0, "KBIBIBIBK"}, Case{0, 2, 0, ""}, Case{-3, 2, 0, ""},
        Case{3, 1 << 30, 0, "KAK"}}) {
    const TimePattern pattern = CompressTimeDifferences(c.steps, c.blockSize, c.maxDepth).pattern();
    EXPECT_EQ(toString(pattern), c.pattern) << c.steps << " steps, blocks of " << c.blockSize;
    EXPECT_EQ(pattern.size(), static_cast<std::size_t>(std::max(c.steps, 0)));
  }
}

/// The references of the writer, which has the rule once more.
TEST(TimePattern, ReachesWhatTheStepsAreStoredAgainst) {
  for (int steps = 1; steps < 40; ++steps) {
    for (const int blockSize : {2, 4, 8}) {
      for (const int maxDepth : {0, 1, 2}) {
        const auto pattern = CompressTimeDifferences(steps, blockSize, maxDepth).pattern();
        for (int step = 0; step < steps; ++step) {
          const auto [kind, distance, block] = pattern[static_cast<std::size_t>(step)];
          std::vector<std::int32_t> expected{-std::abs(distance)};
          if (kind == 'K') expected.clear();
          if (kind == 'B' || kind == 'M') expected.push_back(distance);
          EXPECT_EQ(Writer::timeReferences(step, steps, blockSize, maxDepth), expected)
              << step << " of " << steps << " in blocks of " << blockSize << ", " << maxDepth;
          EXPECT_EQ(block, (step + blockSize - 1) / blockSize) << step << " of " << steps;
        }
      }
    }
  }
  EXPECT_EQ(Writer::timeReferenceKey(-1), "[ts-1]");
  EXPECT_EQ(Writer::timeReferenceKey(2), "[ts+2]");
}

TEST(TimePattern, RefusesBlocksThatAreNoPowerOfTwo) {
  for (const int size : {1, 0, 6, 12, -2, -2147483647 - 1}) {
    EXPECT_THROW(CompressTimeDifferences(5, size, 0), std::invalid_argument) << size;
  }
}

class DatasetCacheTest : public testing::Test {
 protected:
  std::shared_ptr<Kelbor::StorageProvider> filled() {
    auto provider = std::make_shared<Kelbor::StorageProvider>(
        &manager_, Kelbor::DataDimension(Kelbor::DataTypes::kInt32, {3}));
    provider->allocateContainer();
    return provider;
  }

  Kelbor::DataManager manager_;
  DatasetCache cache_;
};

TEST_F(DatasetCacheTest, TellsEntriesApartByAllThreeParts) {
  cache_.insert({0, "A", "/p"}, filled());
  EXPECT_TRUE(cache_.find({0, "A", "/p"}));
  for (const DatasetCacheKey& other : {DatasetCacheKey{1, "A", "/p"}, DatasetCacheKey{0, "B", "/p"},
                                       DatasetCacheKey{0, "A", "/"}}) {
    EXPECT_FALSE(cache_.find(other));
    EXPECT_THROW((void)cache_.get(other), std::runtime_error);
  }
}

TEST_F(DatasetCacheTest, KeepsContentThroughReadsAndLetsItGoWhenRemoved) {
  const auto provider = filled();
  cache_.insert({0, "A", "/variable/v/1"}, provider);
  cache_.insert({0, "A", "/variable/v/2"}, filled());
  { const Kelbor::ScopedConstDataAny read(provider.get()); }
  EXPECT_TRUE(provider->hasContainer());

  std::vector<std::string> asked;
  cache_.removeIf(std::array{ShelfRange{}}, [&](const std::string& path) {
    asked.push_back(path);
    return path.ends_with("1");
  });
  EXPECT_EQ(asked, (std::vector<std::string>{"/variable/v/1", "/variable/v/2"}));
  EXPECT_EQ(cache_.size(), 1U);
  EXPECT_EQ(provider->getReferences(), 0);
  { const Kelbor::ScopedConstDataAny read(provider.get()); }
  EXPECT_FALSE(provider->hasContainer());
}

}  // namespace
}  // namespace morvex

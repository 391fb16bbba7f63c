#include "simulation/eviction.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/checked.hpp"
#include "simulation/simulation_metadata.hpp"

namespace morvex {
namespace {

constexpr int kSteps = 40;
constexpr std::uint32_t kBlockSize = 8;

SimulationMetadata someMetadata() {
  SimulationMetadata metadata;
  metadata.timeDiffsMetaData.blockSize = kBlockSize;
  metadata.timeDiffPatterns.assign(3, CompressTimeDifferences(kSteps, kBlockSize, 0).pattern());
  metadata.timeDiffPatterns[2].clear();
  for (const auto& [name, timeset] : {std::pair{"a", 0}, {"b", 0}, {"other", 1}, {"odd", 2}}) {
    metadata.timesetOfVariable.emplace(name, timeset);
    metadata.usesTimeDiffs.emplace(name, true);
  }
  metadata.timesetOfVariable.emplace("plain", 0);
  return metadata;
}

/// The rules as they are stated: each entry is asked, in the order of keys. Returns the paths that go
/// and what the walk ended in.
std::pair<std::vector<std::string>, std::string> evictPlainly(const SimulationMetadata& metadata,
                                                              std::map<std::string, int>& entries,
                                                              const std::string& variable,
                                                              int current) {
  std::vector<std::string> removed;
  const auto removeIf = [&](const auto& rule) {
    for (auto entry = entries.begin(); entry != entries.end();) {
      if (!rule(entry->first)) {
        ++entry;
        continue;
      }
      removed.push_back(entry->first);
      entry = entries.erase(entry);
    }
  };
  removeIf([](const std::string& path) { return path.ends_with("_qe"); });
  if (!metadata.usesTimeDiffsOf(variable)) return {removed, ""};
  try {
    removeIf([&](const std::string& path) {
      if (!path.starts_with("/variable/")) return false;
      const std::size_t end = path.find('/', 10);
      const auto timeset = metadata.timesetOfVariable.find(path.substr(10, end - 10));
      if (timeset == metadata.timesetOfVariable.end()) return false;
      const std::string rest = end == std::string::npos ? "" : path.substr(end + 1);
      const int step = Kelbor::checkedStoi(rest.substr(0, rest.find('/')));
      const PatternEntry& entry =
          Kelbor::checkedAt(Kelbor::checkedAt(metadata.timeDiffPatterns, timeset->second), step);
      if (timeset->second != metadata.timesetOfVariable.at(variable)) return false;
      const int distance = std::abs(current - step);
      return distance > static_cast<int>(kBlockSize) ||
             (entry.kind == 'M' && distance > entry.distance);
    });
  } catch (const std::logic_error& failure) {
    return {removed, failure.what()};
  }
  return {removed, ""};
}

class Eviction : public testing::Test {
 protected:
  void insert(const std::string& path) {
    auto provider = std::make_shared<Kelbor::StorageProvider>(
        &manager_, Kelbor::DataDimension(Kelbor::DataTypes::kInt32, {1}));
    provider->allocateContainer();
    watched_[path] = provider;
    cache_.insert({0, "key", path}, std::move(provider), shelfOf(metadata_, path));
    entries_[path] = 1;
  }

  /// Whether cache and plain rules agree on what goes and on the failure.
  void evict(const std::string& variable, int step) {
    const auto [removed, failure] = evictPlainly(metadata_, entries_, variable, step);
    std::string told;
    try {
      evictAfterVariable(cache_, metadata_, variable, step);
    } catch (const std::logic_error& error) {
      told = error.what();
    }
    EXPECT_EQ(told, failure) << variable << " " << step;
    for (const auto& [path, provider] : watched_) {
      const bool isThere = cache_.find({0, "key", path}) != nullptr;
      EXPECT_EQ(isThere, entries_.contains(path)) << path << " after " << variable << " " << step;
    }
    EXPECT_EQ(cache_.sizeInBytes(), 4 * cache_.size());
  }

  Kelbor::DataManager manager_;
  SimulationMetadata metadata_ = someMetadata();
  DatasetCache cache_;
  std::map<std::string, int> entries_;
  std::map<std::string, std::shared_ptr<Kelbor::StorageProvider>> watched_;
};

TEST_F(Eviction, RemovesWhatThePlainRulesRemove) {
  std::mt19937 random(1);
  const auto below = [&](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  const std::vector<std::string> names{"a", "b", "other", "plain", "unknown"};
  for (int round = 0; round < 300; ++round) {
    for (int i = 0; i < 20; ++i) {
      const std::string end = below(6) == 0 ? "_qe" : "";
      insert("/variable/" + names[static_cast<std::size_t>(below(5))] + "/" +
             std::to_string(below(kSteps)) + "/" + std::to_string(below(3)) + "/0_data" + end);
    }
    insert("/geometry/0/" + std::to_string(below(9)) + "/1/coordinates_qe");
    evict(names[static_cast<std::size_t>(below(4))], below(kSteps));
  }
}

TEST_F(Eviction, FailsAtThePathThatNoRuleCanRead) {
  for (const char* unreadable :
       {"/variable/b/x/0/0_data", "/variable/b", "/variable/b/99999999999/0", "/variable/b/-1/0",
        "/variable/odd/1/0/0_data"}) {
    insert("/variable/a/0/0/0_data");
    insert("/variable/b/39/0/0_data");
    insert("/variable/c/0/0/0_data");
    insert(unreadable);
    evict("a", 20);
    evict("other", 20);
    evict("plain", 20);
    cache_.clear();
    entries_.clear();
    watched_.clear();
  }
}

TEST_F(Eviction, OfGeometryTakesCoordinatesAlone) {
  insert("/geometry/0/1/2/coordinates_qe");
  insert("/variable/a/1/2/0_data_qe");
  evictGeometry(cache_);
  EXPECT_EQ(cache_.size(), 1U);
  EXPECT_TRUE(cache_.find({0, "key", "/variable/a/1/2/0_data_qe"}));
}

}  // namespace
}  // namespace morvex

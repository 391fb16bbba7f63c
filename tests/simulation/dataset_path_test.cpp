#include "simulation/dataset_path.hpp"

#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <stdexcept>

#include "metadata/exception.hpp"

namespace morvex {
namespace {

constexpr const char* kGroup = "/variable/stress/12/3";
constexpr const char* kName = "6_0_data";

TEST(DatasetKey, EachFormOfKeyMeansItsDataset) {
  const auto resolved = [](const char* key) { return resolveDatasetKey(key, kGroup, kName); };
  EXPECT_EQ(resolved("_vquant"), "/variable/stress/12/3/6_0_data_vquant");
  EXPECT_EQ(resolved("[ts-1]"), "/variable/stress/11/3/6_0_data");
  EXPECT_EQ(resolved("[ts+20]"), "/variable/stress/32/3/6_0_data");
  EXPECT_EQ(resolved("[ts-20]"), "/variable/stress/-8/3/6_0_data");
  EXPECT_EQ(resolved("other[ts-2]"), "/variable/stress/10/3/other");
  EXPECT_EQ(resolved("a[ts9][ts-2]"), "/variable/stress/10/3/a[ts9]") << "the last one counts";
  EXPECT_EQ(resolved("_x[ts-1]"), "/variable/stress/12/3/6_0_data_x[ts-1]") << "a suffix first";
  EXPECT_EQ(resolved("/geometry/0/0/<p>/<e>_edges"), "/geometry/0/0/3/6_edges");
  EXPECT_EQ(resolved("/geometry/0/7/<p>/x<e>_y>z"), "/geometry/0/7/3/6z");
  EXPECT_EQ(resolved("plain"), "/variable/stress/12/3/plain");
  EXPECT_EQ(resolved("[ts-1"), "/variable/stress/12/3/[ts-1") << "no step offset without its end";
}

TEST(DatasetKey, MalformedKeysAreRefused) {
  EXPECT_THROW((void)resolveDatasetKey("[ts0]", kGroup, kName), InternalError);
  for (const char* key : {"[ts]", "[ts1x]", "[ts99999999999]", "[ts--1]", "[ts 1]"}) {
    EXPECT_THROW((void)resolveDatasetKey(key, kGroup, kName), boost::bad_lexical_cast) << key;
  }
  EXPECT_THROW((void)resolveDatasetKey("[ts-1]", "/variable/a/b/1/2", kName),
               boost::bad_lexical_cast)
      << "no number where the step should be";
  EXPECT_THROW((void)resolveDatasetKey("[ts-1]", "/v", kName), std::out_of_range);
  EXPECT_THROW((void)resolveDatasetKey("<p><e>", kGroup, kName), std::out_of_range);
  EXPECT_THROW((void)resolveDatasetKey("/a/b/c/<p>/<e>", kGroup, "data"), boost::bad_lexical_cast);
}

}  // namespace
}  // namespace morvex

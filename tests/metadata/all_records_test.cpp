#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "core/error.hpp"
#include "record_samples.hpp"

namespace morvex {
namespace {

/// The sample with another version triple at its start.
std::vector<std::byte> withVersion(const RecordSample& sample, const MetadataVersion& version) {
  std::vector<std::byte> bytes = sample.bytes;
  const std::uint32_t triple[3] = {version.major, version.minor, version.patch};
  std::memcpy(bytes.data(), triple, sizeof(triple));
  return bytes;
}

TEST(AllRecords, AreReadUpToTheirHighestVersion) {
  for (const RecordSample& sample : allRecords()) {
    EXPECT_NO_THROW(sample.read(withVersion(sample, sample.highest))) << sample.name;
  }
}

TEST(AllRecords, ANewerOneIsRefusedWithTheVersionThatItDemands) {
  for (const RecordSample& sample : allRecords()) {
    const MetadataVersion& highest = sample.highest;
    for (const MetadataVersion& version :
         {MetadataVersion{highest.major, highest.minor, highest.patch + 1},
          MetadataVersion{highest.major, highest.minor + 1, 0}, MetadataVersion{1, 2, 3},
          MetadataVersion{4294967295, 0, 0}}) {
      EXPECT_EQ(messageOf<UsageException>([&] { sample.read(withVersion(sample, version)); }),
                sample.versionMessage + version.toString());
    }
  }
  EXPECT_EQ((MetadataVersion{1, 20, 300}.toString()), "1.20.300");
}

TEST(AllRecords, EveryTruncationIsRefused) {
  for (const RecordSample& sample : allRecords()) {
    for (std::size_t length = 0; length < sample.bytes.size(); ++length) {
      const std::vector<std::byte> cut(sample.bytes.begin(),
                                       sample.bytes.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_THROW(sample.read(cut), InternalError) << sample.name << ", length " << length;
    }
  }
}

/// Where a count reached an allocation, std::bad_alloc or std::length_error would come instead.
TEST(AllRecords, CountsBeyondTheRecordAreRefused) {
  for (const RecordSample& sample : allRecords()) {
    for (const RecordSample::Count& count : sample.counts) {
      for (const std::uint64_t huge :
           {std::uint64_t{0x7FFFFFFF}, std::uint64_t{0x2AAAAAAAAAAAAAAB},
            std::uint64_t{0x7FFFFFFFFFFFFFFF}, std::numeric_limits<std::uint64_t>::max() - 7}) {
        if (count.size == 4 && huge > 0x7FFFFFFF) continue;
        std::vector<std::byte> bytes = sample.bytes;
        std::memcpy(bytes.data() + count.offset, &huge, count.size);
        EXPECT_THROW(sample.read(bytes), InternalError)
            << sample.name << ", count at " << count.offset << " = " << huge;
      }
    }
  }
}

}  // namespace
}  // namespace morvex

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "container_bytes.hpp"
#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::uint64_t kSize = 1000;

class DatasetRead : public ::testing::Test {
 protected:
  /// One container with the same content inlined, plain and deflated; offsets are in the payload.
  DatasetRead() : content_(pattern(kSize)), stream_(deflated(content_)) {
    const std::uint64_t shortClaim = kSize + 500;
    open(joined(content_, stream_),
         ByteWriter()
             .u64(4)
             .record('D', "deflated", kSize, 20 + kSize, stream_.size())
             .u8('D')
             .u64(6)
             .text("inline")
             .u64(10)
             .text("0123456789")
             .u32(0)
             .u8(0)
             .u8(0)
             .record('D', "plain", kSize, 20, 0)
             .record('D', "short", shortClaim, 20 + kSize, stream_.size())
             .bytes());
  }
  void open(const Bytes& payload, const Bytes& rootTable) {
    file_.reset();
    directory_.put("file", containerOf(payload, rootTable));
    file_ = std::make_unique<SdfFile>(&manager_, directory_.path("file"), false, "", false);
  }
  Bytes read(const std::string& name, std::uint64_t count, std::uint64_t offset) {
    return contentOf(*file_->getDataProvider("/", name, count, offset));
  }
  Bytes expected(std::uint64_t count, std::uint64_t offset) const {
    const auto first = content_.begin() + static_cast<std::ptrdiff_t>(offset);
    return {first, first + static_cast<std::ptrdiff_t>(count)};
  }

  DataManager manager_;
  ScratchDirectory directory_;
  Bytes content_;
  Bytes stream_;
  std::unique_ptr<SdfFile> file_;
};

TEST_F(DatasetRead, PiecesOfPlainAndInlineDatasets) {
  EXPECT_EQ(read("plain", 8, 0), expected(8, 0));
  EXPECT_EQ(read("plain", 100, 900), expected(100, 900));
  EXPECT_EQ(read("plain", 101, 900), expected(100, 900)) << "cut down to what is there";
  EXPECT_EQ(read("plain", 0, 999), expected(1, 999)) << "0 means all";
  EXPECT_EQ(read("inline", 4, 3), bytesOf("3456"));
  EXPECT_EQ(read("inline", 0, 8), bytesOf("89"));
}

TEST_F(DatasetRead, OffsetBeyondTheDatasetLeavesNothing) {
  for (const char* name : {"plain", "inline", "deflated"}) {
    for (const std::uint64_t offset : {kSize, kSize + 1, ~std::uint64_t{0}}) {
      const auto provider = file_->getDataProvider("/", name, 5, offset);
      EXPECT_EQ(provider->getDataDimension().getNumberOfElements(), 0U) << name;
      EXPECT_TRUE(contentOf(*provider).empty());
    }
  }
}

TEST_F(DatasetRead, DeflatedDatasetsAreOnlyReadToTheirEnd) {
  EXPECT_EQ(read("deflated", 0, 0), content_);
  EXPECT_EQ(read("deflated", 0, 990), expected(10, 990));
  EXPECT_EQ(read("deflated", 10, 990), expected(10, 990));
  const LogCapture log;
  for (const std::uint64_t offset : {0U, 500U}) {
    EXPECT_THROW((void)read("deflated", 8, offset), Exception);
  }
  EXPECT_NE(log.text().find("ERROR: Sdf decompression failed! Reason: buffer error\nERROR: "
                            "Exception: Provider prepare the content failed!"),
            std::string::npos)
      << log.text();
}

TEST_F(DatasetRead, ShortStreamIsFilledUpWithZerosAtItsStartAndRefusedElsewhere) {
  EXPECT_EQ(read("short", 0, 0), joined(content_, Bytes(500)));
  EXPECT_THROW((void)read("short", 0, 1), Exception);
}

TEST_F(DatasetRead, ProviderTakesTheDimensionItsCallerGivesIt) {
  const auto provider = file_->getDataProvider("/", "plain", 0, 4);
  ASSERT_TRUE(provider->setDataDimension(DataDimension(DataTypes::kInt32, {3})));
  const ScopedConstData<std::int32_t> values(provider.get());
  EXPECT_EQ(values.view()[0], 0x07060504);
  EXPECT_EQ(values.size(), 3U);
}

TEST_F(DatasetRead, ContentIsReadAgainAfterItWasDropped) {
  const auto provider = file_->getDataProvider("/", "deflated", 0, 0);
  EXPECT_EQ(contentOf(*provider), content_);
  EXPECT_FALSE(provider->hasContainer());
  EXPECT_TRUE(file_->closeIfOpen(true));
  EXPECT_EQ(contentOf(*provider), content_) << "the tree was freed and read anew";
}

TEST_F(DatasetRead, MissingFileFailsTheRead) {
  const auto provider = file_->getDataProvider("/", "plain", 0, 0);
  EXPECT_TRUE(file_->closeIfOpen(true));
  std::filesystem::remove(directory_.path("file"));
  EXPECT_THROW((void)contentOf(*provider), Exception);
  EXPECT_FALSE(provider->hasContainer());
}

TEST_F(DatasetRead, DamagedAndForeignStreamsFail) {
  Bytes cut(stream_.begin(), stream_.end() - 1);
  Bytes wrongSum = stream_;
  wrongSum.back() ^= std::byte{1};
  // A stream that asks for a preset dictionary: zlib's answer is positive.
  const Bytes dictionary = joined(ByteWriter().u8(0x78).u8('\xBB').u32(0x12345678).bytes(), cut);
  for (const Bytes& stream : {cut, wrongSum, dictionary, Bytes(20)}) {
    open(stream, ByteWriter().u64(1).record('D', "x", kSize, 20, stream.size()).bytes());
    EXPECT_THROW((void)read("x", 0, 0), Exception);
  }
}

TEST_F(DatasetRead, ClaimsBeyondTheFileAllocateNothing) {
  constexpr std::uint64_t kHuge = std::uint64_t{1} << 62;
  const Bytes stream = deflated(pattern(100));
  open(stream, ByteWriter()
                   .u64(6)
                   .record('D', "a", kHuge, 20, 0)
                   .record('D', "b", 17, kHuge, 0)
                   .record('D', "c", 17, ~std::uint64_t{0}, 0)
                   .record('D', "d", 100, 20, kHuge)
                   .record('D', "e", kHuge, 20, stream.size())
                   .record('D', "f", 100, 300, 2000)
                   .bytes());
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
    EXPECT_THROW((void)read(name, 0, 0), Exception) << name;
    EXPECT_THROW((void)read(name, 0, 16), Exception) << name;
  }
}

TEST_F(DatasetRead, HighestCompressionIsNotTakenForAFalseClaim) {
  const Bytes zeros(std::size_t{8} << 20);
  const Bytes stream = deflated(zeros);
  open(stream, ByteWriter().u64(1).record('D', "x", zeros.size(), 20, stream.size()).bytes());
  EXPECT_EQ(read("x", 0, 0), zeros);
}

TEST_F(DatasetRead, PositionsBeyondFourGigabytesAreReached) {
  const std::uint64_t position = (std::uint64_t{5} << 30) + 3;
  const std::string path = directory_.path("sparse");
  {
    std::ofstream file(path, std::ios::binary);
    const auto put = [&](const Bytes& bytes) {
      file.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    };
    const Bytes table = ByteWriter().u64(1).record('D', "far", kSize, position, 0).bytes();
    put(ByteWriter().text("SDFv").u32(106).u64(position + kSize).u32(0).bytes());
    file.seekp(static_cast<std::streamoff>(position));
    put(content_);
    put(table);
    put(ByteWriter().fields(table.size(), 0, table.size()).bytes());
    if (!file) GTEST_SKIP() << "the file system has no sparse files of that size";
  }
  SdfFile file(&manager_, path, false, "", false);
  EXPECT_EQ(readAll(file, "/", "far"), content_);
}

TEST_F(DatasetRead, ThreadsReadOneFile) {
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) {
        const char* name = (t + i) % 2 == 0 ? "plain" : "deflated";
        if (read(name, 0, 0) == content_) ++right;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 200);
}

}  // namespace
}  // namespace Kelbor::MathModule

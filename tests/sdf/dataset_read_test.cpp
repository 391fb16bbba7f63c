#include <atomic>
#include <thread>

#include "container_bytes.hpp"
#include "core/error.hpp"
#include "support/log_capture.hpp"

namespace Kelbor::MathModule {
namespace {

constexpr std::uint64_t kSize = 1000;

/// One container with the same content plain and deflated, the stream once more with too large a
/// claim, and something inlined.
class DatasetRead : public ContainerTest {
 protected:
  DatasetRead() {
    open(joined(content_, stream_), {{'D', "deflated", kSize, 20 + kSize, stream_.size()},
                                     inlined("inline", "0123456789"),
                                     {'D', "plain", kSize, 20, 0},
                                     {'D', "short", kSize + 500, 20 + kSize, stream_.size()}});
  }
  void open(const Bytes& payload, std::initializer_list<Record> records) {
    file_ = reader(containerOf(payload, tableOf(records)));
  }
  Bytes read(const std::string& name, std::uint64_t count = 0, std::uint64_t offset = 0) {
    return contentOf(*file_->getDataProvider("/", name, count, offset));
  }
  Bytes expected(std::uint64_t count, std::uint64_t offset) const {
    const auto first = content_.begin() + static_cast<std::ptrdiff_t>(offset);
    return {first, first + static_cast<std::ptrdiff_t>(count)};
  }

  Bytes content_ = pattern(kSize);
  Bytes stream_ = deflated(content_);
  std::unique_ptr<SdfFile> file_;
};

TEST_F(DatasetRead, PiecesAreCutDownToWhatIsThere) {
  EXPECT_EQ(read("plain", 8, 0), expected(8, 0));
  EXPECT_EQ(read("plain", 100, 900), expected(100, 900));
  EXPECT_EQ(read("plain", 101, 900), expected(100, 900));
  EXPECT_EQ(read("plain", 0, 999), expected(1, 999)) << "0 means all";
  EXPECT_EQ(read("inline", 4, 3), bytesOf("3456"));
  EXPECT_EQ(read("inline", 0, 8), bytesOf("89"));
  for (const char* name : {"plain", "inline", "deflated"}) {
    for (const std::uint64_t offset : {kSize, kSize + 1, ~std::uint64_t{0}}) {
      EXPECT_TRUE(read(name, 5, offset).empty()) << name;
    }
  }
}

TEST_F(DatasetRead, DeflatedDatasetsAreOnlyReadToTheirEnd) {
  EXPECT_EQ(read("deflated"), content_);
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
  EXPECT_EQ(read("short"), joined(content_, Bytes(500)));
  EXPECT_THROW((void)read("short", 0, 1), Exception);
}

TEST_F(DatasetRead, ContentIsReadAgainAfterItWasDroppedAndFailsWithoutTheFile) {
  const auto provider = file_->getDataProvider("/", "deflated", 0, 0);
  EXPECT_EQ(contentOf(*provider), content_);
  EXPECT_FALSE(provider->hasContainer());
  EXPECT_TRUE(file_->closeIfOpen(true));
  EXPECT_EQ(contentOf(*provider), content_) << "the tree was freed and read anew";
  EXPECT_TRUE(file_->closeIfOpen(true));
  std::filesystem::remove(path());
  EXPECT_THROW((void)contentOf(*provider), Exception);
  EXPECT_FALSE(provider->hasContainer());
}

TEST_F(DatasetRead, DamagedAndForeignStreamsFail) {
  const Bytes cut(stream_.begin(), stream_.end() - 1);
  Bytes wrongSum = stream_;
  wrongSum.back() ^= std::byte{1};
  // A stream that asks for a preset dictionary: zlib's answer is positive.
  const Bytes dictionary = joined(ByteWriter().u8({0x78, 0xBB}).u32({0x12345678}).bytes(), cut);
  for (const Bytes& stream : {cut, wrongSum, dictionary, Bytes(20)}) {
    open(stream, {{'D', "x", kSize, 20, stream.size()}});
    EXPECT_THROW((void)read("x"), Exception);
  }
}

TEST_F(DatasetRead, ClaimsBeyondTheFileAllocateNothing) {
  constexpr std::uint64_t kHuge = std::uint64_t{1} << 62;
  const Bytes stream = deflated(pattern(100));
  open(stream, {{'D', "a", kHuge, 20, 0},
                {'D', "b", 17, kHuge, 0},
                {'D', "c", 17, ~std::uint64_t{0}, 0},
                {'D', "d", 100, 20, kHuge},
                {'D', "e", kHuge, 20, stream.size()},
                {'D', "f", 100, 300, 2000}});
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
    EXPECT_THROW((void)read(name), Exception) << name;
    EXPECT_THROW((void)read(name, 0, 16), Exception) << name;
  }
}

TEST_F(DatasetRead, HighestCompressionIsNotTakenForAFalseClaim) {
  const Bytes zeros(std::size_t{8} << 20);
  const Bytes stream = deflated(zeros);
  open(stream, {{'D', "x", zeros.size(), 20, stream.size()}});
  EXPECT_EQ(read("x"), zeros);
}

TEST_F(DatasetRead, ThreadsReadOneFile) {
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) {
        if (read((t + i) % 2 == 0 ? "plain" : "deflated") == content_) ++right;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 200);
}

}  // namespace
}  // namespace Kelbor::MathModule

#include "metadata/deserializer.hpp"

#include <gtest/gtest.h>

#include "core/error.hpp"
#include "support/bytes_builder.hpp"

namespace morvex {
namespace {

TEST(Deserializer, AShortBlockHasVersionZeroAndFailsAtTheFirstRead) {
  for (const std::size_t size : {0U, 11U}) {
    const std::vector<std::byte> bytes(size, std::byte{1});
    Deserializer stream(nullptr, bytes);
    EXPECT_EQ(stream.version(), MetadataVersion{});
    EXPECT_EQ(stream.position(), 12U);
    EXPECT_THROW((void)stream.readU8(), InternalError);
    EXPECT_THROW((void)stream.readCount(1), InternalError);
  }
}

TEST(Deserializer, ReadsEveryKindOfValueInTurn) {
  BytesBuilder block(1, 2, 3);
  block.i32({-5}).u32({0xFFFFFFFF}).u64({1ULL << 40}).f64({0.25}).u8({200});
  block.u64({3}).text(std::string_view("a\0b", 3)).u64({2}).u8({8, 9}).u64({2}).u32({6, 7});
  block.u64({1}).u32({99});
  Deserializer stream(nullptr, block.bytes());
  EXPECT_EQ(stream.version(), (MetadataVersion{1, 2, 3}));
  EXPECT_EQ(stream.readI32(), -5);
  EXPECT_EQ(stream.readU32(), 0xFFFFFFFF);
  EXPECT_EQ(stream.readU64(), 1ULL << 40);
  EXPECT_EQ(stream.readF64(), 0.25);
  EXPECT_EQ(stream.readU8(), 200);
  EXPECT_EQ(stream.readText(), std::string("a\0b", 3));
  EXPECT_EQ(stream.readBytes(), (std::vector<std::byte>{std::byte{8}, std::byte{9}}));
  EXPECT_EQ(stream.readU32Vector(), (std::vector<std::uint32_t>{6, 7}));
  EXPECT_EQ(stream.readCount(4), 1U);
  EXPECT_EQ(stream.position() + 4, block.bytes().size());
}

TEST(Deserializer, CountsAreHeldAgainstWhatRemains) {
  for (const std::uint64_t count : {std::uint64_t{5}, ~std::uint64_t{0}, std::uint64_t{1} << 62}) {
    const BytesBuilder block = BytesBuilder(0, 0, 0).u64({count}).u32({1});
    const Deserializer start(nullptr, block.bytes());
    const auto refused = [&](auto&& read) {
      Deserializer stream = start;
      EXPECT_THROW(read(stream), InternalError) << count;
    };
    refused([](Deserializer& s) { (void)s.readText(); });
    refused([](Deserializer& s) { (void)s.readBytes(); });
    refused([](Deserializer& s) { (void)s.readU32Vector(); });
    refused([](Deserializer& s) { (void)s.readCount(1); });
  }
}

TEST(Serializer, TheHeaderStatesTheHighestVersionNeeded) {
  std::vector<std::byte> bytes;
  Serializer block(nullptr, bytes);
  block.requireVersion({0, 0, 0});
  block.writeU32(5);
  block.requireVersion({0, 2, 1});
  EXPECT_EQ(bytes, BytesBuilder(0, 2, 1).u32({5}).bytes());
  block.requireVersion({0, 2, 0});
  block.requireVersion({0, 1, 9});
  EXPECT_EQ(bytes, BytesBuilder(0, 2, 1).u32({5}).bytes());
  EXPECT_EQ(block.version(), (MetadataVersion{0, 2, 1}));
}

}  // namespace
}  // namespace morvex

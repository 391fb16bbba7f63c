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

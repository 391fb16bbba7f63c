#include "core/block_pool.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace Kelbor {
namespace {

TEST(BlockPools, BlocksHoldWhatWasAskedForWhereverTheyCameFrom) {
  BlockPool pool;
  // Around each size at which blocks come from elsewhere; twice, so that kept ones are used.
  for (int round = 0; round < 2; ++round) {
    std::vector<std::pair<void*, std::uint64_t>> blocks;
    for (const std::uint64_t size :
         {0U, 1U, 512U, 513U, 8192U, 8193U, 16384U, 16385U, 131072U, 4194304U, 4194305U}) {
      blocks.emplace_back(pool.take(size), size);
      ASSERT_NE(blocks.back().first, nullptr) << size;
      std::memset(blocks.back().first, static_cast<int>(blocks.size()), size);
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      const auto* bytes = static_cast<const unsigned char*>(blocks[i].first);
      const std::vector<unsigned char> wanted(blocks[i].second, static_cast<unsigned char>(i + 1));
      EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), bytes)) << "blocks overlap";
      pool.giveBack(blocks[i].first, blocks[i].second);
    }
  }
  pool.giveBack(nullptr, 100);
  EXPECT_EQ(pool.take(~std::uint64_t{0}), nullptr);
}

TEST(BlockPools, ResizedBlocksKeepTheirBytes) {
  BlockPool pool;
  for (const std::uint64_t from : {100U, 20000U, 5000000U}) {
    for (const std::uint64_t to : {50U, 9000U, 30000U, 6000000U}) {
      auto* block = static_cast<unsigned char*>(pool.take(from));
      std::memset(block, 7, from);
      block = static_cast<unsigned char*>(pool.resize(block, from, to));
      const std::vector<unsigned char> wanted(std::min(from, to), 7);
      EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), block)) << from << " to " << to;
      pool.giveBack(block, to);
    }
  }
}

}  // namespace
}  // namespace Kelbor

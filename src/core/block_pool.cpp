#include "core/block_pool.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace Kelbor {
namespace {

// No pool under the address sanitizer: it checks each block at its requested size and end of life.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kKeepsBlocks = false;
#elif defined(__has_feature)
constexpr bool kKeepsBlocks = !__has_feature(address_sanitizer);
#else
constexpr bool kKeepsBlocks = true;
#endif

}  // namespace

BlockPool::~BlockPool() {
  for (auto& blocks : kept_) {
    while (void* block = blocks.take()) std::free(block);
  }
}

void* BlockPool::take(std::uint64_t size) noexcept {
  const std::size_t index = classOf(size);
  // At least one byte, so that null always means that memory ran out.
  if (index == kClasses) return std::malloc(std::max<std::uint64_t>(size, 1));
  if (void* kept = kept_[index].take()) {
    keptBytes_.fetch_sub(capacityOf(index), std::memory_order_relaxed);
    return kept;
  }
  return std::malloc(capacityOf(index));
}

void BlockPool::giveBack(void* block, std::uint64_t size) noexcept {
  const std::size_t index = classOf(size);
  if (!block || index == kClasses || !keep(block, index)) std::free(block);
}

bool BlockPool::keep(void* block, std::size_t index) noexcept {
  const std::uint64_t capacity = capacityOf(index);
  const std::uint64_t before = keptBytes_.fetch_add(capacity, std::memory_order_relaxed);
  if (before + capacity <= kMostBytes && kept_[index].keep(block)) return true;
  keptBytes_.fetch_sub(capacity, std::memory_order_relaxed);
  return false;
}

void* BlockPool::resize(void* block, std::uint64_t oldSize, std::uint64_t newSize) noexcept {
  if (classOf(oldSize) == kClasses && classOf(newSize) == kClasses) {
    void* resized = std::realloc(block, std::max<std::uint64_t>(newSize, 1));
    if (!resized) std::free(block);
    return resized;
  }
  void* resized = take(newSize);
  if (resized && block) std::memcpy(resized, block, std::min(oldSize, newSize));
  giveBack(block, oldSize);
  return resized;
}

std::size_t BlockPool::classOf(std::uint64_t size) noexcept {
  if (!kKeepsBlocks || size <= kSmallestKept / 2) return kClasses;
  const auto doublings = std::bit_width((size - 1) / kSmallestKept);
  return std::min(static_cast<std::size_t>(doublings), kClasses);
}

}  // namespace Kelbor

#include <gtest/gtest.h>

#include <array>

#include "core/error.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

// Allocations that can't succeed are part of these tests: sanitizers shall answer them as the heap
// does and not end the process.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
  return "allocator_may_return_null=1";
}

namespace Kelbor {
namespace {

TEST(DataManagers, AnnounceThemselvesAndNeverThrow) {
  const LogCapture log;
  DataManager manager(1);
  DataContainer container(&manager);
  EXPECT_FALSE(manager.allocate(nullptr, 5));
  EXPECT_FALSE(container.allocate(~std::uint64_t{0}));
  EXPECT_TRUE(container.allocate(5)) << "a failed attempt leaves it empty";
  EXPECT_FALSE(manager.allocate(&container, 5));
  EXPECT_TRUE(manager.deallocate(container));
  EXPECT_TRUE(manager.allocate(&container, 0));
  EXPECT_TRUE(manager.deallocate(container));
  container.isConstant = true;
  EXPECT_FALSE(manager.allocate(&container, 5));
  EXPECT_EQ(log.text(),
            "WARNING: Using lightweight data manager!\n"
            "ERROR: NULL DataContainer!\n"
            "WARNING: internalAllocate failed: NULL DataContainer!\n"
            "ERROR: Allocation of 18446744073709551615 bytes failed!\n"
            "WARNING: internalAllocate failed: Allocation of 18446744073709551615 bytes failed!\n"
            "ERROR: Cannot allocate an allocated container!\n"
            "WARNING: internalAllocate failed: Cannot allocate an allocated container!\n"
            "ERROR: Cannot allocate a constant container!\n"
            "WARNING: internalAllocate failed: Cannot allocate a constant container!\n");
}

class Containers : public ::testing::Test {
 protected:
  LogCapture log_{LogLevel::kSilent};
  DataManager manager_;
};

TEST_F(Containers, MoveOnlyWhereNobodyNeedsThem) {
  const auto source = filledInts(manager_, {1, 2, 3});
  const auto larger = emptyInts(manager_, 4);
  const auto smaller = emptyInts(manager_, 2);
  DataContainer* container = source->getContainer();
  EXPECT_FALSE(container->migrate(*larger)) << "too small";
  {
    const ScopedConstData<int> reader(source.get());
    EXPECT_FALSE(container->migrate(*smaller)) << "in use";
    source->addReference();
    source->addReference();
  }
  EXPECT_FALSE(container->migrate(*smaller)) << "two readers";
  source->releaseReference();
  EXPECT_TRUE(container->migrate(*smaller));
  source->releaseReference();
  EXPECT_EQ(smaller->getContainer(), container);
  EXPECT_EQ(container->size, 12U) << "a block never shrinks";
  EXPECT_TRUE(container->isUnlocked());
  EXPECT_EQ(valuesOf(*smaller), (std::vector<std::int32_t>{1, 2}));
  fill(*source, {1, 2, 3});
  fill(*larger, {1, 2, 3, 4});
  EXPECT_EQ(messageOf<std::runtime_error>([&] { (void)source->getContainer()->migrate(*larger); }),
            "DataContainer::migrate: outputProvider has DataContainer!");
}

TEST_F(Containers, ForeignMemoryIsNeverWrittenMovedOrFreed) {
  std::array<std::int32_t, 4> host{1, 2, 3, 4};
  const auto provider = emptyInts(manager_, 4);
  const auto other = emptyInts(manager_, 2);
  provider->wrapMemory(host.data(), sizeof host);
  EXPECT_FALSE(provider->getContainer()->migrate(*other));
  EXPECT_EQ(valuesOf(*provider)[3], 4);
  EXPECT_FALSE(provider->hasContainer());
  provider->wrapMemory(host.data(), sizeof host);
  EXPECT_EQ(messageOf<KelborDataException>([&] { ScopedData<int>{provider.get()}; }),
            "Failed to get write data access!");
  EXPECT_THROW((void)valuesOf(*provider), KelborDataException)
      << "a lock on content without memory stays until the content goes";
  provider->clearContent();
  EXPECT_EQ(host[0], 1);
  provider->copyMemory(host.data(), sizeof host);
  fill(*provider, {9, 9, 9, 9});
  EXPECT_EQ(host[0], 1) << "a copy is the provider's own";
  EXPECT_EQ(messageOf<KelborDataException>([&] { provider->wrapMemory(host.data(), 8); }),
            "Failed to install data container. There is already another container associated!");
}

}  // namespace
}  // namespace Kelbor

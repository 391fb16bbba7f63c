#include "core/storage.hpp"

#include <gtest/gtest.h>

#include "core/error.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

using Ints = std::vector<std::int32_t>;

class Storage : public ::testing::Test {
 protected:
  LogCapture log_{LogLevel::kSilent};
  DataManager manager_;
  KelborStorage storage_;
};

TEST_F(Storage, TakesAKeyOnceAndKeepsContentForAnyNumberOfReads) {
  auto first = filledInts(manager_, {1, 2});
  auto second = filledInts(manager_, {3});
  DataProvider* const stored = first.get();
  EXPECT_TRUE(storage_.store("key", first));
  EXPECT_EQ(first, nullptr);
  EXPECT_FALSE(storage_.store("key", second));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->getReferences(), 0);
  EXPECT_EQ(storage_.lookup("key"), stored);
  EXPECT_EQ(storage_.lookup("other"), nullptr);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(valuesOf(*stored), (Ints{1, 2}));

  const std::unique_ptr<DataProvider> taken = storage_.take("key");
  ASSERT_EQ(taken.get(), stored);
  EXPECT_EQ(taken->getReferences(), 0);
  EXPECT_EQ(storage_.lookup("key"), nullptr);
  EXPECT_EQ(storage_.take("key"), nullptr);
  EXPECT_EQ(valuesOf(*taken), (Ints{1, 2}));
  EXPECT_FALSE(taken->hasContainer()) << "a taken provider is like any other";
}

TEST_F(Storage, ClearingLeavesProvidersThatAreRead) {
  auto provider = filledInts(manager_, {1});
  DataProvider* const raw = provider.get();
  EXPECT_TRUE(storage_.store("read", provider));
  auto cached = std::make_unique<CachedStorageProvider>(&manager_, DataDimension());
  std::unique_ptr<DataProvider> idle = std::move(cached);
  EXPECT_TRUE(storage_.store("idle", idle));
  {
    Doubling reader(&manager_);
    reader.connectInput(0, raw);
    storage_.clear();
    EXPECT_EQ(storage_.lookup("read"), nullptr);
    EXPECT_EQ(storage_.lookup("idle"), nullptr);
    EXPECT_EQ(raw->getReferences(), 1);
    EXPECT_EQ(valuesOf(reader.output()), Ints{2});
  }
  const std::unique_ptr<DataProvider> orphan(raw);  // its reader's to free
}

TEST_F(Storage, StealingMovesTheBlockWithoutACopy) {
  const auto source = filledInts(manager_, {1, 2, 3});
  const std::byte* block = source->getContainer()->getConstData();
  source->addReference();
  const std::shared_ptr<StorageProvider> thief = stealContainer(&manager_, *source);
  source->releaseReference();
  EXPECT_FALSE(source->hasContainer());
  EXPECT_EQ(thief->getContainer()->getConstData(), block);
  EXPECT_TRUE(thief->getContainer()->isUnlocked());
  EXPECT_EQ(valuesOf(*thief), (Ints{1, 2, 3}));
}

TEST_F(Storage, StealingIsRefusedWhereSomebodyElseReads) {
  const char* refused = "Cannot steal output provider's DC into StorageProvider (locked!)!";
  const auto source = filledInts(manager_, {1, 2, 3});
  const auto steal = [&] {
    return messageOf<std::runtime_error>([&] { (void)stealContainer(&manager_, *source); });
  };
  {
    const ContentHold hold(*source);
    EXPECT_EQ(steal(), refused);
    const ScopedConstData<int> reader(source.get());
    EXPECT_EQ(steal(), refused);
  }
  fill(*source, {1, 2, 3});
  {
    const ScopedData<int> writer(source.get());
    EXPECT_EQ(steal(), refused);
  }
  EXPECT_EQ(valuesOf(*source), (Ints{1, 2, 3}));
  EXPECT_EQ(messageOf<KelborDataException>([&] { (void)stealContainer(&manager_, *source); }),
            "Null container!");
}

}  // namespace
}  // namespace Kelbor

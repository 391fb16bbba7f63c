#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "core/error.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

using Ints = std::vector<std::int32_t>;

class Access : public ::testing::Test {
 protected:
  Access() : source_(filledInts(manager_, {1, 2, 3})), procedure_(&manager_) {
    procedure_.connectInput(0, source_.get());
  }
  /// Connects a second reader to the source, so that its content stays.
  void keepSource() { source_->addReference(); }
  ~Access() override {
    while (source_->getReferences() > 1) source_->releaseReference();
  }

  LogCapture log_{LogLevel::kSilent};
  DataManager manager_;
  std::unique_ptr<DataProvider> source_;
  Doubling procedure_;
};

TEST_F(Access, ContentIsMadeOnDemandAndDroppedByItsLastReader) {
  keepSource();
  for (int run = 1; run <= 2; ++run) {
    {
      const ScopedConstData<std::int32_t> first(&procedure_.output());
      EXPECT_EQ(valuesOf(procedure_.output()), (Ints{2, 4, 6}));
      EXPECT_EQ(first.view()[2], 6);
      EXPECT_EQ(procedure_.runs, run);
    }
    EXPECT_FALSE(procedure_.output().hasContainer());
  }
}

TEST_F(Access, InPlaceStepMovesTheBlockOn) {
  const std::byte* block = source_->getContainer()->getConstData();
  const ScopedConstData<std::int32_t> access(&procedure_.output());
  EXPECT_TRUE(procedure_.workedInPlace);
  EXPECT_EQ(reinterpret_cast<const std::byte*>(access.data()), block);
  EXPECT_FALSE(source_->hasContainer());
  EXPECT_EQ(access.view()[1], 4);
}

TEST_F(Access, SecondReaderOfTheInputAndConstantInputPreventTheMove) {
  keepSource();
  EXPECT_EQ(valuesOf(procedure_.output()), (Ints{2, 4, 6}));
  EXPECT_FALSE(procedure_.workedInPlace);
  EXPECT_EQ(valuesOf(*source_), (Ints{1, 2, 3}));
  source_->releaseReference();

  std::array<std::int32_t, 3> host{7, 8, 9};
  source_->clearContent();
  source_->wrapMemory(host.data(), sizeof host);
  EXPECT_EQ(valuesOf(procedure_.output()), (Ints{14, 16, 18}));
  EXPECT_FALSE(procedure_.workedInPlace);
  EXPECT_EQ(host[0], 7);
}

TEST_F(Access, WiderOutputNeedsASecondBlock) {
  procedure_.disconnectInput(0);
  WideDoubling wide(&manager_);
  wide.connectInput(0, source_.get());
  EXPECT_EQ(valuesOf<std::int64_t>(wide.output()), (std::vector<std::int64_t>{2, 4, 6}));
  EXPECT_FALSE(wide.workedInPlace);
  EXPECT_FALSE(source_->hasContainer()) << "the only reader has left";
}

TEST_F(Access, ProviderWithoutProducerTakesTheInputsShape) {
  const auto output = emptyInts(manager_, 1);
  {
    const ScopedDataInsitu<std::int32_t, std::int32_t> access(source_.get(), output.get());
    EXPECT_EQ(access.output().size(), 3U);
  }
  EXPECT_EQ(valuesOf(*output), (Ints{1, 2, 3}));
  DataProvider other(&manager_, DataDimension(DataTypes::kInt64, {3}));
  fill(*source_, {1, 2, 3});
  EXPECT_EQ(messageOf<TypeMismatchException>(
                [&] { ScopedDataInsitu<std::int32_t, std::int64_t>(source_.get(), &other); }),
            "Input and Output Provider Type Mismatch - No Procedure available");
  EXPECT_TRUE(source_->hasContainer());
  EXPECT_TRUE(source_->getContainer()->isUnlocked());
}

TEST_F(Access, ProducerThatFailsLeavesNothingBehind) {
  for (const auto outcome : {Doubling::Outcome::kRefuses, Doubling::Outcome::kThrows}) {
    source_->clearContent();
    fill(*source_, {1, 2, 3});
    procedure_.outcome = outcome;
    EXPECT_EQ(messageOf<std::exception>([&] { (void)valuesOf(procedure_.output()); })
                  .find(outcome == Doubling::Outcome::kThrows
                            ? "as told"
                            : "Exception: Provider prepare the content failed!"),
              0U);
    EXPECT_FALSE(procedure_.output().hasContainer());
  }
  procedure_.outcome = Doubling::Outcome::kGood;
  source_->clearContent();
  fill(*source_, {4, 5, 6});
  EXPECT_EQ(valuesOf(procedure_.output()), (Ints{8, 10, 12}));
}

TEST_F(Access, WrongElementTypeNamesBothTypes) {
  const char* expected = "DataProvider possesses the wrong data type: 'Int32' (Expecting 'Double')";
  EXPECT_EQ(messageOf<TypeMismatchException>([&] { ScopedConstData<double>(source_.get()); }),
            expected);
  EXPECT_EQ(messageOf<TypeMismatchException>([&] { ScopedData<double>(source_.get()); }), expected);
  EXPECT_EQ(ScopedConstDataAny(source_.get()).bytes().size(), 12U) << "takes any type";
}

TEST_F(Access, DimensionGrownBehindTheContentIsRefusedToReadersAndServedToWriters) {
  ASSERT_TRUE(source_->setDataDimension(DataDimension(DataTypes::kInt32, {5})));
  EXPECT_EQ(messageOf<Exception>([&] { (void)valuesOf(*source_); }),
            "Output container is too small for ScopedConstData!");
  EXPECT_EQ(messageOf<Exception>([&] { ScopedConstDataAny{source_.get()}; }),
            "Output container is too small for ScopedConstDataAny!");
  EXPECT_EQ(messageOf<Exception>([&] { (void)valuesOf(procedure_.output()); }),
            "Output container is too small for ScopedConstData!");
  {
    const ScopedData<std::int32_t> access(source_.get());
    EXPECT_EQ(access.view()[2], 3) << "the old values move along";
  }
  EXPECT_EQ(source_->getContainer()->size, 20U);
  keepSource();
  ASSERT_TRUE(source_->setDataDimension(DataDimension(DataTypes::kInt32, {9})));
  EXPECT_EQ(messageOf<MemoryAllocationException>([&] { ScopedData<int>{source_.get()}; }),
            "Could not reallocate container \"on the fly\"!");
}

TEST_F(Access, ReadersAndWritersExcludeEachOther) {
  const auto refusedToRead = [&] {
    return messageOf<KelborDataException>([&] { (void)valuesOf(*source_); });
  };
  const auto refusedToWrite = [&] {
    return messageOf<KelborDataException>([&] { ScopedData<int>{source_.get()}; });
  };
  {
    const ScopedConstData<int> reader(source_.get());
    EXPECT_EQ(refusedToWrite(), "Failed to get write data access!");
    EXPECT_FALSE(source_->setDataDimension(DataDimension(DataTypes::kInt32, {1})));
  }
  fill(*source_, {1, 2, 3});
  {
    const ScopedData<int> writer(source_.get());
    EXPECT_EQ(refusedToWrite(), "Failed to get write data access!");
    EXPECT_EQ(refusedToRead(), "Failed to get read data access!");
  }
  EXPECT_EQ(valuesOf(*source_), (Ints{1, 2, 3}));
}

TEST_F(Access, ThreadsThatReadTogetherRunTheProducerOnce) {
  keepSource();
  DataProvider& output = procedure_.output();
  output.addReference();
  output.addReference();
  std::array<Ints, 4> results;
  std::vector<std::thread> threads;
  for (Ints& result : results) threads.emplace_back([&] { result = valuesOf(output); });
  for (std::thread& thread : threads) thread.join();
  for (const Ints& result : results) EXPECT_EQ(result, (Ints{2, 4, 6}));
  EXPECT_EQ(procedure_.runs, 1);
  output.releaseReference();
  output.releaseReference();
}

}  // namespace
}  // namespace Kelbor

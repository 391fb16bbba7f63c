#include <gtest/gtest.h>

#include <array>

#include "core/chain.hpp"
#include "core/error.hpp"
#include "core/object_provider.hpp"
#include "core/storage.hpp"
#include "core/target_provider.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

using Ints = std::vector<std::int32_t>;

class Procedures : public ::testing::Test {
 protected:
  LogCapture log_{LogLevel::kSilent};
  DataManager manager_;
  std::unique_ptr<DataProvider> source_ = filledInts(manager_, {1, 2, 3});
};

TEST_F(Procedures, SlotsAreConnectedOnceAndCounted) {
  Doubling procedure(&manager_);
  const auto text = [](auto call) { return messageOf<std::invalid_argument>(call); };
  EXPECT_EQ(text([&] { procedure.DataProcedure::connectInput(1, source_.get()); }),
            "Invalid input provider @ 1");
  EXPECT_EQ(text([&] { (void)procedure.getInputProvider(0); }), "!hasInputProvider @ 0");
  EXPECT_EQ(text([&] { (void)procedure.getOutputProvider(0); }), "!hasOutputProvider @ 0");
  procedure.connectInput(0, source_.get());
  EXPECT_EQ(source_->getReferences(), 1);
  EXPECT_EQ(text([&] { procedure.connectInput(0, source_.get()); }), "Slot already connected @ 0");
  procedure.disconnectInput(0);
  EXPECT_EQ(source_->getReferences(), 0);
  EXPECT_EQ(text([&] { procedure.disconnectInput(0); }), "Slot not connected @ 0");
  EXPECT_EQ(text([&] { procedure.disconnectInput(7); }), "Invalid input slot @ 7");
  EXPECT_EQ(messageOf<std::runtime_error>([&] { (void)valuesOf(procedure.output()); }),
            ": No input provider!");
}

TEST_F(Procedures, AnObserverSeesRunsWithinRunsAndFailedOnes) {
  struct Recorder final : RunObserver {
    std::vector<std::pair<char, const DataProcedure*>> seen;
    void runBegins(const DataProcedure& procedure) override { seen.emplace_back('(', &procedure); }
    void runEnds(const DataProcedure& procedure) noexcept override {
      seen.emplace_back(')', &procedure);
    }
  } recorder;
  Doubling inner(&manager_);
  inner.connectInput(0, source_.get());
  Doubling outer(&manager_);
  outer.connectInput(0, &inner.output());
  outer.outcome = Doubling::Outcome::kThrows;
  {
    const ScopedRunObserver observer(&recorder);
    EXPECT_THROW((void)valuesOf(outer.output()), std::runtime_error);
  }
  EXPECT_EQ(recorder.seen,
            (decltype(recorder.seen){{'(', &outer}, {'(', &inner}, {')', &inner}, {')', &outer}}));
  outer.outcome = Doubling::Outcome::kGood;
  fill(*source_, {1, 2, 3});
  (void)valuesOf(outer.output());
  EXPECT_EQ(recorder.seen.size(), 4U) << "nothing is seen after the observer's end";
  outer.disconnectInput(0);
}

TEST_F(Procedures, OutputLandsInTheCallersMemoryAndNoFurther) {
  Doubling procedure(&manager_);
  procedure.connectInput(0, source_.get());
  std::array<std::int32_t, 5> host{-1, -1, -1, -1, -1};
  EXPECT_TRUE(procedure.setOutputBuffer(0, host.data() + 1, 12));
  for (int run = 0; run < 2; ++run) {
    fill(*source_, {1, 2, 3});
    EXPECT_EQ(valuesOf(procedure.output()), (Ints{2, 4, 6}));
    EXPECT_EQ(host, (std::array<std::int32_t, 5>{-1, 2, 4, 6, -1}));
    EXPECT_EQ(messageOf<KelborDataException>([&] { ScopedData<int>{&procedure.output()}; }),
              "Failed to get write data access!");
    procedure.output().clearContent();
  }
  EXPECT_EQ(host[1], 2) << "cleared content is not erased";
}

TEST_F(Procedures, TargetThatIsTooSmallOrWhoseProducerFailsStaysEmpty) {
  Doubling procedure(&manager_);
  procedure.connectInput(0, source_.get());
  std::array<std::int32_t, 3> host{-1, -1, -1};
  EXPECT_TRUE(procedure.setOutputBuffer(0, host.data(), 11));
  EXPECT_EQ(messageOf<std::runtime_error>([&] { (void)valuesOf(procedure.output()); }),
            "dimension.getByteSize() > targetMemspace");
  EXPECT_FALSE(procedure.output().hasContainer());

  // A producer that fails leaves the target empty, and its memory to the next run.
  EXPECT_TRUE(procedure.setOutputBuffer(0, host.data(), 12));
  fill(*source_, {1, 2, 3});
  procedure.outcome = Doubling::Outcome::kThrows;
  EXPECT_THROW((void)valuesOf(procedure.output()), std::runtime_error);
  EXPECT_FALSE(procedure.output().hasContainer());
  procedure.outcome = Doubling::Outcome::kGood;
  fill(*source_, {1, 2, 3});
  EXPECT_EQ(valuesOf(procedure.output()), (Ints{2, 4, 6}));
  host = {-1, -1, -1};

  // The dimension may also grow while the content is made.
  EXPECT_TRUE(procedure.setOutputBuffer(0, host.data(), 12));
  ASSERT_TRUE(source_->setDataDimension(DataDimension(DataTypes::kInt32, {4})));
  fill(*source_, {1, 2, 3, 4});
  EXPECT_EQ(messageOf<MemoryAllocationException>([&] { (void)valuesOf(procedure.output()); }),
            "Could not reallocate container \"on the fly\"!");
  EXPECT_FALSE(procedure.output().hasContainer());
  EXPECT_EQ(host, (std::array<std::int32_t, 3>{-1, -1, -1}));
}

TEST_F(Procedures, WholeChainWorksInTheTargetsMemoryWhereNobodyElseReads) {
  Doubling first(&manager_);
  Doubling second(&manager_);
  Doubling third(&manager_);
  first.connectInput(0, source_.get());
  second.connectInput(0, &first.output());
  third.connectInput(0, &second.output());
  std::array<std::int32_t, 3> host{};
  EXPECT_TRUE(third.setOutputBuffer(0, host.data(), 12));
  source_->addReference();  // its content stays its own
  EXPECT_EQ(valuesOf(third.output()), (Ints{8, 16, 24}));
  EXPECT_TRUE(second.workedInPlace && third.workedInPlace);
  EXPECT_EQ(host, (std::array<std::int32_t, 3>{8, 16, 24}));
  EXPECT_EQ(valuesOf(*source_), (Ints{1, 2, 3}));
  EXPECT_FALSE(second.output().hasContainer());

  // With another reader of the middle, its content is apart from the target and outlives the run.
  second.output().addReference();
  third.output().clearContent();
  host = {};
  EXPECT_EQ(valuesOf(third.output()), (Ints{8, 16, 24}));
  EXPECT_FALSE(third.workedInPlace);
  host = {};
  EXPECT_EQ(valuesOf(second.output()), (Ints{4, 8, 12}));
  second.output().releaseReference();
  source_->releaseReference();
}

TEST_F(Procedures, CopyHasTheSameInputsAndItsOwnEmptyOutputs) {
  Doubling procedure(&manager_);
  procedure.connectInput(0, source_.get());
  {
    const std::unique_ptr<DataProcedure> twin = procedure.copy();
    EXPECT_EQ(twin->getInputProvider(0), source_.get());
    EXPECT_EQ(source_->getReferences(), 2);
    EXPECT_NE(twin->getOutputProvider(0), procedure.getOutputProvider(0));
    EXPECT_EQ(twin->getOutputProvider(0)->getProducer(), twin.get());
    EXPECT_EQ(valuesOf(dynamic_cast<DataProvider&>(*twin->getOutputProvider(0))), (Ints{2, 4, 6}));
    EXPECT_EQ(procedure.runs, 0);
  }
  EXPECT_EQ(source_->getReferences(), 1);
}

TEST(ProcedureDeathTest, DeletingAProcedureThatIsReadEndsTheProcess) {
  DataManager manager;
  const auto source = filledInts(manager, {1});
  auto first = std::make_unique<Doubling>(&manager);
  Doubling second(&manager);
  first->connectInput(0, source.get());
  second.connectInput(0, &first->output());
  EXPECT_DEATH(first.reset(),
               "FATAL: DataProcedure::.DataProcedure: existing output provider still has ref!\n"
               "FATAL: Maybe you deleted the DataProcedures in a chain from left to right.");
  second.disconnectInput(0);
}

TEST_F(Procedures, ChainEndsFromItsLastProcedureToItsFirst) {
  const auto endings = std::make_shared<int>(0);
  {
    BranchedChain chain;
    chain.addSource(std::move(source_));
    DataProvider* at = filledInts(manager_, {1, 2, 3}).release();
    chain.addSource(std::unique_ptr<Provider>(at));
    for (const char* key : {"a", "b", "c"}) {
      auto& step = dynamic_cast<Doubling&>(
          chain.addProcedure(key, std::make_unique<Doubling>(&manager_, endings)));
      step.connectInput(0, at);
      at = &step.output();
    }
    DataProcedure& sink = chain.addSink(std::make_unique<Doubling>(&manager_, endings));
    sink.connectInput(0, at);
    EXPECT_EQ(valuesOf(*at), (Ints{8, 16, 24}));
    EXPECT_EQ(chain.getOutputProcedure("c").getOutputProvider(0), at);
    DataProcedure& later = chain.addProcedure("c", std::make_unique<Doubling>(&manager_));
    EXPECT_EQ(&chain.getOutputProcedure("c"), &later) << "the later of a key serves";
    EXPECT_EQ(messageOf<KelborDataException>([&] { (void)chain.getOutputProcedure("d"); }),
              "BranchedChain: no output procedure for key d");
    EXPECT_EQ(*endings, 0);
  }
  EXPECT_EQ(*endings, 4);
}

TEST_F(Procedures, ChainKeepsForeignProvidersUntilItsProceduresAreGone) {
  std::shared_ptr<DataProvider> foreign = std::move(source_);
  const std::weak_ptr<DataProvider> watch = foreign;
  {
    BranchedChain chain;
    chain.addProcedure(std::make_unique<Doubling>(&manager_)).connectInput(0, foreign.get());
    chain.keepAlive(std::move(foreign));
    EXPECT_FALSE(watch.expired());
  }
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace Kelbor
